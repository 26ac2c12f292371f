#include "tools/control/control_messages.h"

#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace {

// InvokeMethod and Subscribe travel between avctl and tarn-host in the system tests and
// between avctl and a stand-in host in avctl's tests; an event's decoding is checked here.
TEST(ControlMessagesTest, EventRoundTripsAndRefusesOtherMessages) {
  const std::vector<std::string> strings = {"tv \"1\"", "av_plugin", ""};
  ControlMsg_Event event(37, strings);
  EXPECT_FALSE(event.is_sync());
  int id = 0;
  std::vector<std::string> read;
  ASSERT_TRUE(ControlMsg_Event::Read(&event, &id, &read));
  EXPECT_EQ(37, id);
  EXPECT_EQ(strings, read);

  IPC::Message other(1, ControlMsg_Event::ID + 1, IPC::Message::PRIORITY_NORMAL);
  EXPECT_FALSE(ControlMsg_Event::Read(&other, &id, &read));
  IPC::Message truncated(1, ControlMsg_Event::ID, IPC::Message::PRIORITY_NORMAL);
  truncated.WriteInt(35);
  EXPECT_FALSE(ControlMsg_Event::Read(&truncated, &id, &read));
}

}  // namespace
