#include "ipc/ipc_sync_message.h"

#include <atomic>

namespace IPC {

namespace {

// Message ids are unique within the process; they start at 1 and wrap around.
std::atomic<uint32_t> g_next_id{1};

int NextMessageId() {
  return static_cast<int>(g_next_id.fetch_add(1, std::memory_order_relaxed));
}

}  // namespace

MessageReplyDeserializer::~MessageReplyDeserializer() = default;

bool MessageReplyDeserializer::SerializeOutputParameters(const Message& reply) {
  return SerializeOutputParameters(reply, SyncMessage::GetDataIterator(&reply));
}

SyncMessage::SyncMessage(int32_t routing_id,
                         uint32_t type,
                         PriorityValue priority,
                         MessageReplyDeserializer* deserializer)
    : Message(routing_id, type, priority), deserializer_(deserializer) {
  set_sync();
  set_unblock(true);
  WriteInt(NextMessageId());
}

SyncMessage::~SyncMessage() = default;

MessageReplyDeserializer* SyncMessage::GetReplyDeserializer() {
  return deserializer_.release();
}

int SyncMessage::GetMessageId(const Message& msg) {
  PickleIterator iter(msg);
  int id = 0;
  if (!iter.ReadInt(&id))
    return 0;
  return id;
}

bool SyncMessage::IsMessageReplyTo(const Message& msg, int request_id) {
  return msg.is_reply() && GetMessageId(msg) == request_id;
}

PickleIterator SyncMessage::GetDataIterator(const Message* msg) {
  PickleIterator iter(*msg);
  iter.SkipBytes(sizeof(int));
  return iter;
}

Message* SyncMessage::GenerateReply(const Message* msg) {
  Message* reply = new Message(msg->routing_id(), IPC_REPLY_ID, msg->priority());
  reply->set_reply();
  reply->WriteInt(GetMessageId(*msg));
  return reply;
}

}  // namespace IPC
