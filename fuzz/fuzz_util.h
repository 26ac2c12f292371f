// Helpers shared by the fuzz targets.

#ifndef FUZZ_FUZZ_UTIL_H_
#define FUZZ_FUZZ_UTIL_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include "base/logging.h"
#include "ipc/ipc_message.h"

namespace fuzz {

// A message on the catalogue's routing id whose payload is exactly |data|.
inline IPC::Message MessageWithPayload(uint32_t type, const uint8_t* data, size_t size) {
  IPC::Message msg(0x7FFFFFFF, type, IPC::Message::PRIORITY_NORMAL);
  msg.WriteBytes(data, static_cast<int>(size));
  return msg;
}

inline IPC::Message MessageWithPayload(uint32_t type, const std::string& payload) {
  return MessageWithPayload(type, reinterpret_cast<const uint8_t*>(payload.data()), payload.size());
}

inline std::string PayloadOf(const IPC::Message& msg) {
  return std::string(msg.payload(), msg.payload_size());
}

// The payload of a synchronous message or reply: message id 1, then |p| as |write| puts it.
template <class Params>
std::string SyncPayload(void (*write)(IPC::Message*, const Params&), const Params& p) {
  IPC::Message msg;
  msg.WriteInt(1);
  write(&msg, p);
  return PayloadOf(msg);
}

// |decoded| came from |read|. Checks that it encodes to bytes that |read| takes back and
// that then encode to the very same bytes.
template <class Params>
void CheckStableEncoding(uint32_t type,
                         bool (*read)(const IPC::Message*, Params*),
                         void (*write)(IPC::Message*, const Params&),
                         const Params& decoded) {
  const std::string first = SyncPayload(write, decoded);
  const IPC::Message msg = MessageWithPayload(type, first);
  Params again;
  CHECK(read(&msg, &again));
  CHECK(SyncPayload(write, again) == first);
}

// A copy of |size| bytes in a heap block of exactly that size, so that AddressSanitizer
// reports a decoder that reads one byte past them.
class ExactCopy {
 public:
  ExactCopy(const char* data, size_t size) : bytes_(new char[size]), size_(size) {
    if (size != 0)
      std::memcpy(bytes_.get(), data, size);
  }
  const char* data() const { return bytes_.get(); }
  size_t size() const { return size_; }

 private:
  std::unique_ptr<char[]> bytes_;
  size_t size_;
};

}  // namespace fuzz

#endif  // FUZZ_FUZZ_UTIL_H_
