// An IPC message: a pickle with a 20-byte header naming the payload size, the routing id,
// the message type and the flags.

#ifndef IPC_IPC_MESSAGE_H_
#define IPC_IPC_MESSAGE_H_

#include <cstddef>
#include <cstdint>

#include "ipc/pickle.h"

namespace IPC {

class Message : public Pickle {
 public:
  enum PriorityValue { PRIORITY_LOW = 1, PRIORITY_NORMAL = 2, PRIORITY_HIGH = 3 };

  // Bits of the flags word. Only the low 8 bits carry meaning: the rest are written as 0
  // and ignored when read.
  enum {
    PRIORITY_MASK = 0x03,
    SYNC_BIT = 0x04,
    REPLY_BIT = 0x08,
    REPLY_ERROR_BIT = 0x10,
    UNBLOCK_BIT = 0x20,
  };

  // The header as it travels, little-endian.
  struct Header {
    uint32_t payload_size;
    int32_t routing;
    uint32_t type;
    uint32_t flags;
    uint16_t num_fds;  // always 0: no descriptors travel with a message
    uint16_t pad;
  };
  static constexpr size_t kHeaderSize = 20;

  // Whatever a message can be handed to.
  class Sender {
   public:
    virtual ~Sender();
    // Takes ownership of |msg|, also when sending fails.
    virtual bool Send(Message* msg) = 0;
  };

  // A message with routing id 0, type 0 and no flags.
  Message();
  Message(int32_t routing_id, uint32_t type, PriorityValue priority);
  // Copies a whole serialised message: the 20-byte header and the payload it names. Data
  // that is not exactly that gives an empty message with routing id 0, type 0, no flags.
  Message(const char* data, int data_len);
  ~Message() override;

  Message(const Message& other);
  Message& operator=(const Message& other);

  uint32_t type() const { return header()->type; }
  int32_t routing_id() const { return header()->routing; }
  // The meaningful flag bits, the low 8.
  uint32_t flags() const { return header()->flags & kFlagsMask; }
  uint16_t num_fds() const { return header()->num_fds; }

  PriorityValue priority() const { return static_cast<PriorityValue>(flags() & PRIORITY_MASK); }
  bool is_sync() const { return (flags() & SYNC_BIT) != 0; }
  bool is_reply() const { return (flags() & REPLY_BIT) != 0; }
  bool is_reply_error() const { return (flags() & REPLY_ERROR_BIT) != 0; }
  bool should_unblock() const { return (flags() & UNBLOCK_BIT) != 0; }

  // Each sets one flag and leaves the other meaningful flags as they are.
  void set_sync() { SetFlag(SYNC_BIT, true); }
  void set_reply() { SetFlag(REPLY_BIT, true); }
  void set_reply_error() { SetFlag(REPLY_ERROR_BIT, true); }
  void set_unblock(bool unblock) { SetFlag(UNBLOCK_BIT, unblock); }

 protected:
  Header* header() { return headerT<Header>(); }
  const Header* header() const { return headerT<Header>(); }

 private:
  static constexpr uint32_t kFlagsMask = 0xFF;

  void SetFlag(uint32_t bit, bool on);
};

static_assert(sizeof(Message::Header) == Message::kHeaderSize, "the header is 20 bytes");

// The routing id of the hello message that each end sends on connecting.
const int32_t MSG_ROUTING_NONE = -2;
// The hello message's type; its payload is one int, the sender's process id.
const uint32_t HELLO_MESSAGE_TYPE = 65535;
// The type of every reply to a synchronous message.
const uint32_t IPC_REPLY_ID = 0xFFFFFFF0;

}  // namespace IPC

#endif  // IPC_IPC_MESSAGE_H_
