// The receiver's answers are checked through the plugin (av_service_cec_unittest) and as a
// process (cec_sim_process_unittest, tests/system); here only what those cannot see: the
// timing of a delayed answer.

#include "tvapp/simulator/receiver_simulator.h"

#include <future>
#include <string>

#include "cecapp/cec_request_names.h"
#include "gtest/gtest.h"
#include "tvapp/application_base.h"

namespace cec_sim {
namespace {

// The receiver acts only when it answers: the observer sees the request before the delay,
// and the delay ends, with nothing carried out, at an interruption or at the deadline,
// not an hour later.
TEST(ReceiverSimulatorTest, ObserverSeesTheRequestBeforeTheDelayWhichMustEndInTime) {
  ORVELL0300::CMessage switch_on;
  switch_on.SetName(cecapp::Utf8("set_cec_receiver_on_off"));
  switch_on.MakeResult(cecapp::Utf8("onoff"), true);
  for (bool interrupted : {true, false}) {
    SCOPED_TRACE(interrupted);
    ReceiverSimulator receiver;
    std::promise<void> seen;
    receiver.SetRequestObserver([&seen](const ReceiverSimulator::Request&) { seen.set_value(); });
    receiver.SetReplyDelay(std::chrono::hours(1));
    const auto deadline = interrupted
                              ? std::chrono::steady_clock::time_point::max()
                              : std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
    auto answered = std::async(std::launch::async, [&] {
      ORVELL0300::CMessage reply;
      return receiver.OnMessage(ORVELL0300::kMessageTypeQuery, switch_on, deadline, &reply);
    });
    seen.get_future().wait();
    if (interrupted)
      receiver.Interrupt();
    const std::future_status status = answered.wait_for(std::chrono::seconds(10));
    receiver.Interrupt();
    EXPECT_EQ(std::future_status::ready, status);
    EXPECT_FALSE(answered.get());
    EXPECT_FALSE(receiver.power_on());
  }
}

}  // namespace
}  // namespace cec_sim
