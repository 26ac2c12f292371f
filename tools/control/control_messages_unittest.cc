#include "tools/control/control_messages.h"

#include <memory>

#include "gtest/gtest.h"

namespace {

// Answers |request| with |reply_params| and runs the request's reply deserializer on it.
template <class Msg>
bool Answer(Msg* request, const typename Msg::ReplyParam& reply_params) {
  std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(request));
  Msg::Schema::WriteReplyParam(reply.get(), reply_params);
  std::unique_ptr<IPC::MessageReplyDeserializer> deserializer(request->GetReplyDeserializer());
  return deserializer->SerializeOutputParameters(*reply);
}

TEST(ControlMessagesTest, InvokeMethodCarriesFourStringsAndAnswersStatusAndResult) {
  int status = -1;
  bool result = false;
  ControlMsg_InvokeMethod request("av_plugin", "AvManagerImpl", "OnDiscovery", "tv-1", &status,
                                  &result);
  EXPECT_EQ(0x7A000001u, request.type());
  EXPECT_TRUE(request.is_sync());
  ControlMsg_InvokeMethod::SendParam sent;
  ASSERT_TRUE(ControlMsg_InvokeMethod::ReadSendParam(&request, &sent));
  std::string text;
  for (const auto& entry :
       {std::make_pair("component", "av_plugin"), std::make_pair("class", "AvManagerImpl"),
        std::make_pair("method", "OnDiscovery"), std::make_pair("argument", "tv-1")}) {
    EXPECT_TRUE(sent.a.GetString(entry.first, &text));
    EXPECT_EQ(entry.second, text);
  }
  ASSERT_TRUE(Answer(&request, ControlMsg_InvokeMethod::ReplyParam(control::kInvokeOk, true)));
  EXPECT_EQ(control::kInvokeOk, status);
  EXPECT_TRUE(result);
}

TEST(ControlMessagesTest, SubscribeCarriesTheEventId) {
  bool subscribed = false;
  ControlMsg_Subscribe request(ControlMsg_Subscribe::kAllEvents, &subscribed);
  ControlMsg_Subscribe::SendParam sent;
  ASSERT_TRUE(ControlMsg_Subscribe::ReadSendParam(&request, &sent));
  EXPECT_EQ(-1, sent.a);
  ASSERT_TRUE(Answer(&request, ControlMsg_Subscribe::ReplyParam(true)));
  EXPECT_TRUE(subscribed);
}

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
