// How a byte stream is cut into messages, and the hello that each end of a channel sends
// first. Shared by the channel and the blocking client.
//
// A message is its 20-byte header followed by the payload_size bytes the header names. The
// whole message may be at most Channel::kMaximumMessageSize bytes, and its num_fds must be 0:
// descriptors never travel on this platform. A stream that breaks either rule cannot be
// trusted any further, and its peer is dropped.

#ifndef IPC_IPC_MESSAGE_FRAMING_H_
#define IPC_IPC_MESSAGE_FRAMING_H_

#include <cstddef>
#include <cstdint>

#include "ipc/ipc_message.h"

namespace IPC {

// What the front of a stream of received bytes holds.
enum FrameStatus {
  FRAME_INCOMPLETE,  // not yet a whole message: read more
  FRAME_COMPLETE,    // a whole message
  FRAME_TOO_LARGE,   // a header that claims more than Channel::kMaximumMessageSize
  FRAME_HAS_FDS,     // a header that claims descriptors
};

// Looks at the message at the front of |data|. For FRAME_COMPLETE, |*message_size| is its
// size, header included. The header is judged as soon as its 20 bytes are there, before any
// of the payload arrives.
FrameStatus CheckFrame(const char* data, size_t size, size_t* message_size);

// A short English description of |status|, for log lines.
const char* FrameStatusToString(FrameStatus status);

// The hello carrying |pid|: routing MSG_ROUTING_NONE, type HELLO_MESSAGE_TYPE. The caller
// owns it.
Message* CreateHelloMessage(int32_t pid);

bool IsHelloMessage(const Message& message);

// The pid a hello carries; false when its payload holds no int.
bool ReadHelloPid(const Message& message, int32_t* pid);

}  // namespace IPC

#endif  // IPC_IPC_MESSAGE_FRAMING_H_
