// discover, disconnect and events against a stand-in for tarn-host's control channel.

#include "tools/avctl/control_commands.h"

#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tools/avctl/command_context.h"
#include "tools/avctl/events_command.h"
#include "tools/avctl/fake_control_host.h"
#include "tools/control/control_messages.h"

namespace avctl {
namespace {

using test::FakeControlHost;

std::string NewSocketPath() {
  static int count = 0;
  return "/tmp/avctl-control-" + std::to_string(getpid()) + "-" + std::to_string(++count);
}

bool NeverStop() {
  return false;
}

bool StopAtOnce() {
  return true;
}

class ControlCommandsTest : public testing::Test {
 protected:
  // Serves a fake host answering with |answers|.
  void Serve(const FakeControlHost::Answers& answers) {
    options_.control_path = NewSocketPath();
    host_ = std::make_unique<FakeControlHost>(options_.control_path, answers);
    ASSERT_TRUE(host_->serving());
  }

  template <typename Command>
  int RunCommand(Command command) {
    CommandContext context(options_, &out_, &err_);
    return command(&context);
  }

  int RunEventsUntil(const EventsOptions& events, bool (*stop_requested)()) {
    return RunCommand(
        [&](CommandContext* context) { return RunEvents(context, events, stop_requested); });
  }

  GlobalOptions options_;
  std::ostringstream out_;
  std::ostringstream err_;
  std::unique_ptr<FakeControlHost> host_;
};

TEST_F(ControlCommandsTest, DiscoverAndDisconnectInvokeTheManagerAndPrintItsResult) {
  FakeControlHost::Answers answers;
  answers.invoke_result = false;
  Serve(answers);
  EXPECT_EQ(0,
            RunCommand([](CommandContext* context) { return RunDiscover(context, "tv \"1\""); }));
  EXPECT_EQ(0, RunCommand([](CommandContext* context) { return RunDisconnect(context, ""); }));
  EXPECT_EQ("{\"ok\":false}\n{\"ok\":false}\n", out_.str());
  EXPECT_EQ("", err_.str());
  const std::vector<std::vector<std::string>> expected = {
      {"av_plugin", "AvManagerImpl", "OnDiscovery", "tv \"1\""},
      {"av_plugin", "AvManagerImpl", "OnDeviceDisconnection", ""}};
  EXPECT_EQ(expected, host_->invocations());
}

TEST_F(ControlCommandsTest, AnInvocationTheHostCannotMakeIsAFailure) {
  const struct {
    int status;
    const char* message;
  } kCases[] = {
      {control::kInvokeNoSuchMethod, "no such method is registered (status 1)"},
      {control::kInvokeBadSignature, "(status 2)"},
      {control::kInvokeNoInstance, "(status 3)"},
      {control::kInvokeBadRequest, "(status 4)"},
      {9, "unknown status (status 9)"},
  };
  for (const auto& test : kCases) {
    FakeControlHost::Answers answers;
    answers.invoke_status = test.status;
    Serve(answers);
    err_.str("");
    EXPECT_EQ(1, RunCommand([](CommandContext* context) { return RunDiscover(context, "tv-1"); }));
    EXPECT_EQ(0u, err_.str().find(
                      "avctl: the host could not invoke AvManagerImpl::OnDiscovery of av_plugin: "))
        << err_.str();
    EXPECT_NE(std::string::npos, err_.str().find(test.message)) << err_.str();
  }
  EXPECT_EQ("", out_.str());
}

TEST_F(ControlCommandsTest, ErrorRepliesSilenceAndAHostThatLeavesAreFailures) {
  enum Fault { kErrorReply, kSilent, kCloseOnSubscribe };
  const struct {
    Fault fault;
    bool events;          // run "events", else "disconnect"
    const char* message;  // after "avctl: "; PATH stands for the socket path
  } kCases[] = {
      {kErrorReply, false, "the host answered with an error reply"},
      {kErrorReply, true, "the host answered with an error reply"},
      {kSilent, false, "no reply from PATH within 200 ms"},
      {kSilent, true, "no reply from PATH within 200 ms"},
      {kCloseOnSubscribe, true, "lost the connection to PATH: the server closed the connection"},
  };
  for (const auto& test : kCases) {
    // Only silence has to wait the time-out out.
    options_.timeout_ms = test.fault == kSilent ? 200 : kDefaultTimeoutMs;
    FakeControlHost::Answers answers;
    answers.error_reply = test.fault == kErrorReply;
    answers.silent = test.fault == kSilent;
    answers.close_on_subscribe = test.fault == kCloseOnSubscribe;
    Serve(answers);
    err_.str("");
    EXPECT_EQ(1, test.events ? RunEventsUntil(EventsOptions(), NeverStop)
                             : RunCommand([](CommandContext* context) {
                                 return RunDisconnect(context, "tv-1");
                               }));
    std::string message = test.message;
    const size_t path = message.find("PATH");
    if (path != std::string::npos)
      message.replace(path, 4, options_.control_path);
    EXPECT_EQ("avctl: " + message + "\n", err_.str());
  }
  EXPECT_EQ("", out_.str());
}

TEST_F(ControlCommandsTest, EventsArePrintedInOrderFromTheSubscriptionOn) {
  FakeControlHost::Answers answers;
  answers.events_before_reply = {{35, {"tv-1", "av_plugin"}}};
  answers.events_after_reply = {{37, {"tv-1", "av_plugin"}}, {40, {}}, {41, {"unread"}}};
  Serve(answers);
  EventsOptions events;
  events.event_id = 37;
  events.count = 3;
  EXPECT_EQ(0, RunEventsUntil(events, NeverStop));
  EXPECT_EQ(
      "{\"id\":35,\"data\":[\"tv-1\",\"av_plugin\"]}\n"
      "{\"id\":37,\"data\":[\"tv-1\",\"av_plugin\"]}\n"
      "{\"id\":40,\"data\":[]}\n",
      out_.str());
  EXPECT_EQ(std::vector<int>{37}, host_->subscriptions());
  EXPECT_EQ("avctl: subscribed to event 37\n", err_.str());
}

TEST_F(ControlCommandsTest, EventsEndOnAStopRequestOrARefusal) {
  FakeControlHost::Answers answers;
  Serve(answers);
  EXPECT_EQ(0, RunEventsUntil(EventsOptions(), StopAtOnce));
  EXPECT_EQ("", err_.str());

  answers.subscribed = false;
  Serve(answers);
  EXPECT_EQ(1, RunEventsUntil(EventsOptions(), NeverStop));
  EXPECT_EQ(std::vector<int>{-1}, host_->subscriptions());
  EXPECT_EQ("avctl: the host refused the subscription to events\n", err_.str());
}

}  // namespace
}  // namespace avctl
