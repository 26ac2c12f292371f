#include "tools/tarn-cec-sim/receiver_simulator.h"

#include <future>
#include <string>

#include "gtest/gtest.h"
#include "tvapp/application_base.h"

namespace cec_sim {
namespace {

using ORVELL0300::CMessage;

OCString Utf8(const char* text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}

CMessage Request(const char* name) {
  CMessage request;
  request.SetName(Utf8(name));
  return request;
}

template <typename T>
CMessage Request(const char* name, const char* key, T value) {
  CMessage request = Request(name);
  request.MakeResult(Utf8(key), value);
  return request;
}

// The reply's "return", or -1 when it has none of type bool.
int ReturnOf(const CMessage& reply) {
  bool value = false;
  return reply.Query(Utf8("return"), value) ? value : -1;
}

TEST(ReceiverSimulatorTest, AnswersWhatAReceiverCanDoAndRefusesTheRest) {
  const struct {
    const char* what;
    CMessage request;
    int message_type;
    bool expected_return;
    bool power_after;
    long mode_after;
  } rows[] = {
      {"switch on", Request("set_cec_receiver_on_off", "onoff", true),
       ORVELL0300::kMessageTypeQuery, true, true, 0},
      {"onoff missing", Request("set_cec_receiver_on_off"), ORVELL0300::kMessageTypeQuery, false,
       true, 0},
      {"onoff as a long", Request("set_cec_receiver_on_off", "onoff", 0L),
       ORVELL0300::kMessageTypeQuery, false, true, 0},
      {"mode 4", Request("set_smart_home_sound_mode", "sound mode", 4L),
       ORVELL0300::kMessageTypeQuery, true, true, 4},
      {"mode 5", Request("set_smart_home_sound_mode", "sound mode", 5L),
       ORVELL0300::kMessageTypeQuery, false, true, 4},
      {"mode as a float", Request("set_smart_home_sound_mode", "sound mode", 1.0f),
       ORVELL0300::kMessageTypeQuery, false, true, 4},
      {"mode key without the blank", Request("set_smart_home_sound_mode", "soundmode", 1L),
       ORVELL0300::kMessageTypeQuery, false, true, 4},
      {"unknown name", Request("set_cec_receiver_volume", "volume", 3L),
       ORVELL0300::kMessageTypeQuery, false, true, 4},
      {"other message type", Request("set_cec_receiver_on_off", "onoff", false), 1, false, true, 4},
      {"switch off", Request("set_cec_receiver_on_off", "onoff", false),
       ORVELL0300::kMessageTypeQuery, true, false, 4},
  };
  ReceiverSimulator receiver;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    CMessage reply;
    ASSERT_TRUE(receiver.OnMessage(row.message_type, row.request, &reply));
    EXPECT_EQ(row.expected_return ? 1 : 0, ReturnOf(reply));
    EXPECT_EQ(1, reply.NumOfQuery());
    EXPECT_EQ(row.power_after, receiver.power_on());
    EXPECT_EQ(row.mode_after, receiver.sound_mode());
  }
  const auto requests = receiver.requests();
  ASSERT_EQ(sizeof(rows) / sizeof(rows[0]), requests.size());
  for (size_t i = 0; i < requests.size(); ++i) {
    EXPECT_EQ(rows[i].request, requests[i].message);
    EXPECT_EQ(rows[i].message_type, requests[i].message_type);
  }
}

TEST(ReceiverSimulatorTest, ObserverSeesTheRequestBeforeTheDelayAndInterruptEndsIt) {
  ReceiverSimulator receiver;
  std::promise<std::string> seen;
  receiver.SetRequestObserver([&seen](const ReceiverSimulator::Request& request) {
    seen.set_value(request.message.GetName().text());
  });
  receiver.SetReplyDelay(std::chrono::hours(1));
  auto answered = std::async(std::launch::async, [&receiver] {
    CMessage reply;
    return receiver.OnMessage(ORVELL0300::kMessageTypeQuery,
                              Request("get_cec_receiver_power_status"), &reply);
  });
  EXPECT_EQ("get_cec_receiver_power_status", seen.get_future().get());
  receiver.Interrupt();
  EXPECT_FALSE(answered.get());
}

}  // namespace
}  // namespace cec_sim
