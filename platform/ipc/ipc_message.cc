#include "ipc/ipc_message.h"

namespace IPC {

Message::Sender::~Sender() = default;

Message::Message() : Pickle(static_cast<int>(kHeaderSize)) {}

Message::Message(int32_t routing_id, uint32_t type, PriorityValue priority)
    : Pickle(static_cast<int>(kHeaderSize)) {
  Header* h = header();
  h->routing = routing_id;
  h->type = type;
  h->flags = static_cast<uint32_t>(priority) & PRIORITY_MASK;
}

Message::Message(const char* data, int data_len) : Pickle(data, data_len, kHeaderSize) {}

Message::~Message() = default;

Message::Message(const Message& other) = default;

Message& Message::operator=(const Message& other) = default;

void Message::SetFlag(uint32_t bit, bool on) {
  Header* h = header();
  const uint32_t kept = h->flags & kFlagsMask;
  h->flags = on ? (kept | bit) : (kept & ~bit);
}

}  // namespace IPC
