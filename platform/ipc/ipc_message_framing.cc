#include "ipc/ipc_message_framing.h"

#include "ipc/ipc_channel.h"

namespace IPC {

namespace {

// Offsets of the header fields the framing reads.
const size_t kPayloadSizeOffset = 0;
const size_t kNumFdsOffset = 16;

uint32_t ReadLittleEndian32(const char* data) {
  const unsigned char* bytes = reinterpret_cast<const unsigned char*>(data);
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8 |
         static_cast<uint32_t>(bytes[2]) << 16 | static_cast<uint32_t>(bytes[3]) << 24;
}

uint16_t ReadLittleEndian16(const char* data) {
  const unsigned char* bytes = reinterpret_cast<const unsigned char*>(data);
  return static_cast<uint16_t>(bytes[0] | bytes[1] << 8);
}

}  // namespace

FrameStatus CheckFrame(const char* data, size_t size, size_t* message_size) {
  if (size < Message::kHeaderSize)
    return FRAME_INCOMPLETE;
  if (ReadLittleEndian16(data + kNumFdsOffset) != 0)
    return FRAME_HAS_FDS;
  const uint32_t payload_size = ReadLittleEndian32(data + kPayloadSizeOffset);
  if (payload_size > Channel::kMaximumMessageSize - Message::kHeaderSize)
    return FRAME_TOO_LARGE;
  const size_t total = Message::kHeaderSize + payload_size;
  if (size < total)
    return FRAME_INCOMPLETE;
  *message_size = total;
  return FRAME_COMPLETE;
}

const char* FrameStatusToString(FrameStatus status) {
  switch (status) {
    case FRAME_INCOMPLETE:
      return "incomplete message";
    case FRAME_COMPLETE:
      return "complete message";
    case FRAME_TOO_LARGE:
      return "message larger than the maximum size";
    case FRAME_HAS_FDS:
      return "message claims file descriptors";
  }
  return "unknown framing status";
}

Message* CreateHelloMessage(int32_t pid) {
  Message* hello = new Message(MSG_ROUTING_NONE, HELLO_MESSAGE_TYPE, Message::PRIORITY_NORMAL);
  hello->WriteInt(pid);
  return hello;
}

bool IsHelloMessage(const Message& message) {
  return message.routing_id() == MSG_ROUTING_NONE && message.type() == HELLO_MESSAGE_TYPE;
}

bool ReadHelloPid(const Message& message, int32_t* pid) {
  PickleIterator iter(message);
  int value = 0;
  if (!iter.ReadInt(&value))
    return false;
  *pid = value;
  return true;
}

}  // namespace IPC
