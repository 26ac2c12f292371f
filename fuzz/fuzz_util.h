// Helpers shared by the fuzz targets, and the standard and IPC headers they all use.

#ifndef FUZZ_FUZZ_UTIL_H_
#define FUZZ_FUZZ_UTIL_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/logging.h"
#include "base/values.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_message_utils.h"

namespace fuzz {

// A message on the catalogue's routing id whose payload is exactly |data|.
inline IPC::Message MessageWithPayload(uint32_t type, const void* data, size_t size) {
  IPC::Message msg(0x7FFFFFFF, type, IPC::Message::PRIORITY_NORMAL);
  msg.WriteBytes(data, static_cast<int>(size));
  return msg;
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

// The payload that encodes the value tree |value|.
inline std::string ValuePayload(const base::Value& value) {
  IPC::Message msg;
  IPC::WriteParam(&msg, value);
  return PayloadOf(msg);
}

// Reads |msg| into |*p| with |read|. When that succeeds, checks that |*p| encodes to bytes
// that |read| takes back and that then encode to the very same bytes. Returns whether
// |msg| was read.
template <class Params>
bool ReadStable(const IPC::Message& msg,
                bool (*read)(const IPC::Message*, Params*),
                void (*write)(IPC::Message*, const Params&),
                Params* p) {
  if (!read(&msg, p))
    return false;
  const std::string first = SyncPayload(write, *p);
  const IPC::Message again_msg = MessageWithPayload(msg.type(), first.data(), first.size());
  Params again;
  CHECK(read(&again_msg, &again));
  CHECK(SyncPayload(write, again) == first);
  return true;
}

// A copy of |size| bytes in a heap block of exactly that size, so that AddressSanitizer
// reports a decoder that reads one byte past them.
inline std::vector<char> ExactCopy(const char* data, size_t size) {
  return std::vector<char>(data, data + size);
}

}  // namespace fuzz

#endif  // FUZZ_FUZZ_UTIL_H_
