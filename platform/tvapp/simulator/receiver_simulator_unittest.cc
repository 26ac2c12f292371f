#include "tvapp/simulator/receiver_simulator.h"

#include <future>
#include <string>

#include "cecapp/cec_request_names.h"
#include "gtest/gtest.h"
#include "tvapp/application_base.h"

namespace cec_sim {
namespace {

using cecapp::Utf8;
using ORVELL0300::CMessage;

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

const ORVELL0300::CMessageHandler::Deadline kNoHurry = std::chrono::steady_clock::time_point::max();

// The reply's "return", or -1 when it has none of type bool.
int ReturnOf(const CMessage& reply) {
  bool value = false;
  return reply.Query(Utf8("return"), value) ? value : -1;
}

TEST(ReceiverSimulatorTest, AnswersWhatAReceiverCanDoAndRefusesTheRest) {
  // A late row's deadline has passed: the request changes nothing and gets no reply.
  const struct {
    const char* what;
    CMessage request;
    int message_type;
    bool late;
    bool expected_return;
    bool power_after;
    long mode_after;
  } rows[] = {
      {"switch on", Request("set_cec_receiver_on_off", "onoff", true),
       ORVELL0300::kMessageTypeQuery, false, true, true, 0},
      {"switch off too late", Request("set_cec_receiver_on_off", "onoff", false),
       ORVELL0300::kMessageTypeQuery, true, false, true, 0},
      {"onoff missing", Request("set_cec_receiver_on_off"), ORVELL0300::kMessageTypeQuery, false,
       false, true, 0},
      {"onoff as a long", Request("set_cec_receiver_on_off", "onoff", 0L),
       ORVELL0300::kMessageTypeQuery, false, false, true, 0},
      {"mode 4", Request("set_smart_home_sound_mode", "sound mode", 4L),
       ORVELL0300::kMessageTypeQuery, false, true, true, 4},
      {"mode 1 too late", Request("set_smart_home_sound_mode", "sound mode", 1L),
       ORVELL0300::kMessageTypeQuery, true, false, true, 4},
      {"mode 5", Request("set_smart_home_sound_mode", "sound mode", 5L),
       ORVELL0300::kMessageTypeQuery, false, false, true, 4},
      {"mode as a float", Request("set_smart_home_sound_mode", "sound mode", 1.0f),
       ORVELL0300::kMessageTypeQuery, false, false, true, 4},
      {"mode key without the blank", Request("set_smart_home_sound_mode", "soundmode", 1L),
       ORVELL0300::kMessageTypeQuery, false, false, true, 4},
      {"unknown name", Request("set_cec_receiver_volume", "volume", 3L),
       ORVELL0300::kMessageTypeQuery, false, false, true, 4},
      {"other message type", Request("set_cec_receiver_on_off", "onoff", false), 1, false, false,
       true, 4},
      {"switch off", Request("set_cec_receiver_on_off", "onoff", false),
       ORVELL0300::kMessageTypeQuery, false, true, false, 4},
  };
  ReceiverSimulator receiver;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    CMessage reply;
    const auto deadline = row.late ? std::chrono::steady_clock::now() : kNoHurry;
    EXPECT_EQ(!row.late, receiver.OnMessage(row.message_type, row.request, deadline, &reply));
    EXPECT_EQ(row.late ? -1 : row.expected_return, ReturnOf(reply));
    EXPECT_EQ(row.late ? 0 : 1, reply.NumOfQuery());
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

// The receiver acts only when it answers: not before its delay is over, not when the delay
// was interrupted, and not when the deadline came first.
TEST(ReceiverSimulatorTest, ObserverSeesTheRequestBeforeTheDelayWhichMustEndInTime) {
  ReceiverSimulator receiver;
  std::promise<std::string> seen;
  receiver.SetRequestObserver([&seen](const ReceiverSimulator::Request& request) {
    seen.set_value(request.message.GetName().text());
  });
  receiver.SetReplyDelay(std::chrono::hours(1));
  const CMessage switch_on = Request("set_cec_receiver_on_off", "onoff", true);
  auto answered = std::async(std::launch::async, [&receiver, &switch_on] {
    CMessage reply;
    return receiver.OnMessage(ORVELL0300::kMessageTypeQuery, switch_on, kNoHurry, &reply);
  });
  EXPECT_EQ("set_cec_receiver_on_off", seen.get_future().get());
  EXPECT_FALSE(receiver.power_on());
  receiver.Interrupt();
  EXPECT_FALSE(answered.get());

  ReceiverSimulator late;
  late.SetReplyDelay(std::chrono::hours(1));
  auto late_answer = std::async(std::launch::async, [&late, &switch_on] {
    CMessage reply;
    return late.OnMessage(ORVELL0300::kMessageTypeQuery, switch_on,
                          std::chrono::steady_clock::now() + std::chrono::milliseconds(20), &reply);
  });
  // The wait ends at the deadline, not an hour later.
  const std::future_status status = late_answer.wait_for(std::chrono::seconds(10));
  late.Interrupt();
  EXPECT_EQ(std::future_status::ready, status);
  EXPECT_FALSE(late_answer.get());
  EXPECT_FALSE(late.power_on());
}

}  // namespace
}  // namespace cec_sim
