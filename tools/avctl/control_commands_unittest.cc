// avctl's discover, disconnect and events against a stand-in for tarn-host's control channel
// that answers as each case says: what avctl prints and how it ends.

#include "tools/avctl/control_commands.h"

#include <unistd.h>

#include <atomic>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "base/threading/thread.h"
#include "gtest/gtest.h"
#include "ipc/ipc_channel.h"
#include "ipc/ipc_sync_message.h"
#include "tools/avctl/command_line.h"
#include "tools/control/control_messages.h"

namespace avctl {
namespace {

typedef std::pair<int, std::vector<std::string>> Event;

enum Fault { kNone, kErrorReply, kSilent, kCloseOnSubscribe };

// How the stand-in answers: an invoke with |status| and |result|, a subscription with
// |subscribed| between the events |before| and |after|; or as |fault| says.
struct Answers {
  int status = control::kInvokeOk;
  bool result = true;
  bool subscribed = true;
  Fault fault = kNone;
  std::vector<Event> before, after;
};

// Serves a named server socket on its own I/O thread, answers control requests with
// |answers| and keeps the event id of the last subscription.
class FakeControlHost : public IPC::Channel::Listener {
 public:
  FakeControlHost(const std::string& path, const Answers& answers) : answers_(answers) {
    io_thread_.Start();
    channel_ = std::make_unique<IPC::Channel>(path, IPC::Channel::MODE_NAMED_SERVER, this);
    serving_ = channel_->Connect(io_thread_.message_loop());
  }
  ~FakeControlHost() override {
    // A handler may still be sending events avctl no longer waits for: let it end. Then the
    // channel, which needs its I/O loop to close.
    io_thread_.PostTaskAndWait(FROM_HERE, [] {});
    channel_.reset();
    io_thread_.Stop();
  }

  bool serving() const { return serving_; }
  int subscription() const { return subscription_; }

  bool OnMessageReceived(const IPC::Message& message) override {
    if (answers_.fault == kSilent)
      return true;
    std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(&message));
    ControlMsg_Subscribe::SendParam subscription;
    const bool subscribing = message.type() == ControlMsg_Subscribe::ID &&
                             ControlMsg_Subscribe::ReadSendParam(&message, &subscription);
    if (subscribing)
      subscription_ = subscription.a;
    if (answers_.fault == kErrorReply) {
      reply->set_reply_error();
    } else if (subscribing && answers_.fault == kCloseOnSubscribe) {
      channel_->Close();
      return true;
    } else if (subscribing) {
      Send(answers_.before);
      ControlMsg_Subscribe::Schema::WriteReplyParam(
          reply.get(), ControlMsg_Subscribe::ReplyParam(answers_.subscribed));
    } else {
      ControlMsg_InvokeMethod::Schema::WriteReplyParam(
          reply.get(), ControlMsg_InvokeMethod::ReplyParam(answers_.status, answers_.result));
    }
    channel_->Send(reply.release());
    if (subscribing)
      Send(answers_.after);
    return true;
  }

 private:
  void Send(const std::vector<Event>& events) {
    for (const Event& event : events)
      channel_->Send(new ControlMsg_Event(event.first, event.second));
  }

  const Answers answers_;
  base::Thread io_thread_{"fake_control"};
  std::unique_ptr<IPC::Channel> channel_;
  bool serving_ = false;
  std::atomic<int> subscription_{0};
};

Answers With(int status, Fault fault = kNone, bool result = true, bool subscribed = true) {
  Answers answers;
  answers.status = status;
  answers.fault = fault;
  answers.result = result;
  answers.subscribed = subscribed;
  return answers;
}

TEST(ControlCommandsTest, EachAnswerOfTheHostEndsTheCommandItsWay) {
  const std::string kPath = "/tmp/avctl-control-" + std::to_string(getpid());
  const std::string kErrorText = "avctl: the host answered with an error reply\n";
  const std::string kNoReply = "avctl: no reply from " + kPath + " within 200 ms\n";
  Answers with_events;
  with_events.before = {{35, {"tv-1", "av_plugin"}}};
  with_events.after = {{37, {"tv-1", "av_plugin"}}, {40, {}}, {41, {"unread"}}};
  struct Row {
    std::vector<std::string> words;  // after --control
    Answers answers;
    int exit_code;
    std::string printed;  // stdout then stderr
    int subscription;     // the event id subscribed to; 0 for none
  };
  std::vector<Row> rows = {
      {{"discover", "tv-1"}, With(0, kNone, false), 0, "{\"ok\":false}\n", 0},
      {{"disconnect", "tv-1"}, With(0, kErrorReply), 1, kErrorText, 0},
      {{"events"}, With(0, kErrorReply), 1, kErrorText, -1},
      {{"--timeout", "200", "disconnect", "tv-1"}, With(0, kSilent), 1, kNoReply, 0},
      {{"events"},
       With(0, kCloseOnSubscribe),
       1,
       "avctl: lost the connection to " + kPath + ": the server closed the connection\n",
       -1},
      {{"events"},
       With(0, kNone, true, false),
       1,
       "avctl: the host refused the subscription to events\n",
       -1},
      // Events from the subscription on, in order, the one before its reply too.
      {{"events", "--id", "37", "--count", "3"},
       with_events,
       0,
       "{\"id\":35,\"data\":[\"tv-1\",\"av_plugin\"]}\n"
       "{\"id\":37,\"data\":[\"tv-1\",\"av_plugin\"]}\n"
       "{\"id\":40,\"data\":[]}\n"
       "avctl: subscribed to event 37\n",
       37},
  };
  // A status with which the host could not invoke the discovery, and one it does not know;
  // each status's text is control::InvokeStatusText's, checked in the invoker's log.
  const std::pair<int, const char*> kNotInvoked[] = {
      {1, "no such method is registered"},
      {9, "unknown status"},
  };
  for (const auto& status : kNotInvoked) {
    rows.push_back({{"discover", "tv-1"},
                    With(status.first),
                    1,
                    "avctl: the host could not invoke AvManagerImpl::OnDiscovery of av_plugin: " +
                        std::string(status.second) + " (status " + std::to_string(status.first) +
                        ")\n",
                    0});
  }
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.words));
    FakeControlHost host(kPath, row.answers);
    ASSERT_TRUE(host.serving());
    std::vector<const char*> argv = {"avctl", "--control", kPath.c_str()};
    for (const std::string& word : row.words)
      argv.push_back(word.c_str());
    std::ostringstream out, err;
    EXPECT_EQ(row.exit_code,
              RunCommandLine(static_cast<int>(argv.size()), argv.data(), &out, &err));
    EXPECT_EQ(row.printed, out.str() + err.str());
    EXPECT_EQ(row.subscription, host.subscription());
  }
}

}  // namespace
}  // namespace avctl
