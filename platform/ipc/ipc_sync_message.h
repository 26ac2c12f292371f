// A synchronous message: its payload starts with an int message id, which the reply
// repeats first in its own payload so that the sender can match the two.

#ifndef IPC_IPC_SYNC_MESSAGE_H_
#define IPC_IPC_SYNC_MESSAGE_H_

#include <cstdint>
#include <memory>

#include "ipc/ipc_message.h"

namespace IPC {

// Fills a synchronous request's out-variables from its reply.
class MessageReplyDeserializer {
 public:
  virtual ~MessageReplyDeserializer();

  // Reads the reply's parameters (past the message id) into the bound out-variables.
  // False at the first one that cannot be read; those before it keep their new values.
  bool SerializeOutputParameters(const Message& reply);

 private:
  // |iter| stands at the reply's first parameter.
  virtual bool SerializeOutputParameters(const Message& reply, PickleIterator iter) = 0;
};

class SyncMessage : public Message {
 public:
  // A request with the flags SYNC | UNBLOCK | |priority| and a fresh message id as the
  // first payload element. Takes ownership of |deserializer|.
  SyncMessage(int32_t routing_id,
              uint32_t type,
              PriorityValue priority,
              MessageReplyDeserializer* deserializer);
  ~SyncMessage() override;

  // Releases ownership of the deserializer to the caller; null once released.
  MessageReplyDeserializer* GetReplyDeserializer();

  // The int at the start of the payload; 0 when the payload is shorter than an int.
  static int GetMessageId(const Message& msg);
  // Whether |msg| is a reply carrying |request_id|.
  static bool IsMessageReplyTo(const Message& msg, int request_id);
  // An iterator at the first parameter, past the message id; at the end of the payload
  // when there is no id.
  static PickleIterator GetDataIterator(const Message* msg);
  // The reply to |msg|: the same routing id, type IPC_REPLY_ID, flags |msg|'s priority |
  // REPLY, and |msg|'s message id as its first payload element. The caller owns it.
  static Message* GenerateReply(const Message* msg);

 private:
  std::unique_ptr<MessageReplyDeserializer> deserializer_;
};

}  // namespace IPC

#endif  // IPC_IPC_SYNC_MESSAGE_H_
