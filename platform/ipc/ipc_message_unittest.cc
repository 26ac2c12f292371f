// The header bytes of each message kind are pinned by the plugin's message tests
// (plugin/device/av_plugin/stub/av_messages_unittest.cc); here, what a message makes of flag
// bits it does not know.

#include "ipc/ipc_message.h"

#include <string>

#include "gtest/gtest.h"
#include "ipc/test/hex_bytes.h"

namespace IPC {
namespace {

using test::HexBytes;
using test::ToHex;

Message FromHex(const std::string& hex) {
  const std::string data = HexBytes(hex);
  return Message(data.data(), static_cast<int>(data.size()));
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
  EXPECT_EQ(ToHex(HexBytes("00000000 01000000 02000000 1e000000 0000 0000")),
            ToHex(msg.data(), msg.size()));
}

}  // namespace
}  // namespace IPC
