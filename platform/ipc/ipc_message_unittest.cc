#include "ipc/ipc_message.h"

#include <memory>
#include <string>

#include "gtest/gtest.h"
#include "ipc/ipc_sync_message.h"
#include "ipc/test/hex_bytes.h"

namespace IPC {
namespace {

using test::HexBytes;
using test::ToHex;

Message FromHex(const std::string& hex) {
  const std::string data = HexBytes(hex);
  return Message(data.data(), static_cast<int>(data.size()));
}

TEST(MessageTest, HeaderLayout) {
  Message msg(0x7FFFFFFF, 0xD47F0024, Message::PRIORITY_NORMAL);
  msg.WriteInt(1);
  // payload_size, routing, type, flags, num_fds, pad, payload.
  EXPECT_EQ(ToHex(HexBytes("04000000 ffffff7f 24007fd4 02000000 0000 0000 01000000")), ToHex(msg));

  Message hello(MSG_ROUTING_NONE, HELLO_MESSAGE_TYPE, Message::PRIORITY_NORMAL);
  EXPECT_EQ(ToHex(HexBytes("00000000 feffffff ffff0000 02000000 0000 0000")), ToHex(hello));
}

TEST(MessageTest, UpperFlagBitsAreIgnoredOnReadAndWrittenAsZero) {
  // Flags 0xffffff36: priority 2, SYNC, REPLY_ERROR, UNBLOCK, and junk above bit 7.
  Message msg = FromHex("00000000 01000000 02000000 36ffffff 0000 0000");
  EXPECT_EQ(0x36u, msg.flags());
  EXPECT_EQ(Message::PRIORITY_NORMAL, msg.priority());
  EXPECT_TRUE(msg.is_sync());
  EXPECT_FALSE(msg.is_reply());
  EXPECT_TRUE(msg.is_reply_error());
  EXPECT_TRUE(msg.should_unblock());

  msg.set_reply();
  msg.set_unblock(false);
  EXPECT_EQ(ToHex(HexBytes("00000000 01000000 02000000 1e000000 0000 0000")), ToHex(msg));
}

TEST(MessageTest, CopiesOnlyWholeSerialisedMessages) {
  const struct {
    const char* data;
    uint32_t type;
    size_t payload_size;
  } kCases[] = {
      {"04000000 01000000 07000000 02000000 0000 0000 2a000000", 7, 4},
      {"04000000 01000000 07000000 02000000 0000 0000 2a0000", 0, 0},    // short payload
      {"02000000 01000000 07000000 02000000 0000 0000 2a000000", 0, 0},  // trailing bytes
      {"00000000 01000000 07000000 02000000 0000", 0, 0},                // short header
      {"", 0, 0},
  };
  for (const auto& c : kCases) {
    Message msg = FromHex(c.data);
    EXPECT_EQ(c.type, msg.type()) << c.data;
    EXPECT_EQ(c.payload_size, msg.payload_size()) << c.data;
    EXPECT_EQ(Message::kHeaderSize + c.payload_size, msg.size()) << c.data;
  }
}

TEST(SyncMessageTest, RequestAndReplyHeaders) {
  SyncMessage first(5, 0xD47F0029, Message::PRIORITY_NORMAL, nullptr);
  SyncMessage second(5, 0xD47F0029, Message::PRIORITY_HIGH, nullptr);
  EXPECT_EQ(0x26u, first.flags());  // SYNC | UNBLOCK | PRIORITY_NORMAL
  EXPECT_EQ(4u, first.payload_size());
  const int id = SyncMessage::GetMessageId(first);
  EXPECT_EQ(id + 1, SyncMessage::GetMessageId(second));

  std::unique_ptr<Message> reply(SyncMessage::GenerateReply(&second));
  EXPECT_EQ(5, reply->routing_id());
  EXPECT_EQ(IPC_REPLY_ID, reply->type());
  EXPECT_EQ(0x0Bu, reply->flags());  // REPLY | PRIORITY_HIGH
  EXPECT_EQ(id + 1, SyncMessage::GetMessageId(*reply));
  EXPECT_TRUE(SyncMessage::IsMessageReplyTo(*reply, id + 1));
  EXPECT_FALSE(SyncMessage::IsMessageReplyTo(*reply, id));
  EXPECT_FALSE(SyncMessage::IsMessageReplyTo(second, id + 1));  // a request is no reply
}

TEST(SyncMessageTest, DataIteratorSkipsTheMessageId) {
  // Message id 9, then an int 42.
  Message reply = FromHex("08000000 01000000 f0ffffff 0a000000 0000 0000 09000000 2a000000");
  PickleIterator iter = SyncMessage::GetDataIterator(&reply);
  int value = 0;
  ASSERT_TRUE(iter.ReadInt(&value));
  EXPECT_EQ(42, value);

  // A payload shorter than the id leaves nothing to read.
  Message stub = FromHex("02000000 01000000 f0ffffff 0a000000 0000 0000 0101");
  bool b;
  iter = SyncMessage::GetDataIterator(&stub);
  EXPECT_FALSE(iter.ReadBool(&b));
}

}  // namespace
}  // namespace IPC
