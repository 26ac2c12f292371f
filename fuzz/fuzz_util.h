// Helpers shared by the fuzz targets.

#ifndef FUZZ_FUZZ_UTIL_H_
#define FUZZ_FUZZ_UTIL_H_

#include <cstddef>
#include <cstdint>
#include <string>

#include "ipc/ipc_message.h"

namespace fuzz {

// A message on the catalogue's routing id whose payload is exactly |data|.
inline IPC::Message MessageWithPayload(uint32_t type, const uint8_t* data, size_t size) {
  IPC::Message msg(0x7FFFFFFF, type, IPC::Message::PRIORITY_NORMAL);
  msg.WriteBytes(data, static_cast<int>(size));
  return msg;
}

inline std::string PayloadOf(const IPC::Message& msg) {
  return std::string(msg.payload(), msg.payload_size());
}

}  // namespace fuzz

#endif  // FUZZ_FUZZ_UTIL_H_
