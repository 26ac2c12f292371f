// avctl's discover, disconnect and events against a stand-in for tarn-host's control channel
// that answers as each case says: what avctl prints and how it ends.

#include "tools/avctl/control_commands.h"

#include <unistd.h>

#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "base/threading/thread.h"
#include "gtest/gtest.h"
#include "ipc/ipc_channel.h"
#include "ipc/ipc_sync_message.h"
#include "tools/avctl/command_line.h"
#include "tools/control/control_messages.h"

namespace avctl {
namespace {

struct Event {
  int id;
  std::vector<std::string> strings;
};

enum Fault { kNone, kErrorReply, kSilent, kCloseOnSubscribe };

struct Answers {
  int invoke_status = control::kInvokeOk;
  bool invoke_result = true;
  bool subscribed = true;
  Fault fault = kNone;
  std::vector<Event> before_reply;  // sent on a subscription, before its reply
  std::vector<Event> after_reply;   // and after it
};

// Serves a named server socket on its own I/O thread, answers control requests with
// |answers| and keeps the event id of each subscription.
class FakeControlHost : public IPC::Channel::Listener {
 public:
  FakeControlHost(const std::string& path, const Answers& answers) : answers_(answers) {
    io_thread_.Start();
    channel_ = std::make_unique<IPC::Channel>(path, IPC::Channel::MODE_NAMED_SERVER, this);
    serving_ = channel_->Connect(io_thread_.message_loop());
  }
  ~FakeControlHost() override {
    channel_.reset();  // first: it needs its I/O loop to close
    io_thread_.Stop();
  }

  bool serving() const { return serving_; }
  std::vector<int> subscriptions() const {
    std::lock_guard<std::mutex> hold(lock_);
    return subscriptions_;
  }

  bool OnMessageReceived(const IPC::Message& message) override {
    if (answers_.fault == kSilent)
      return true;
    std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(&message));
    ControlMsg_Subscribe::SendParam subscription;
    const bool subscribing = message.type() == ControlMsg_Subscribe::ID &&
                             ControlMsg_Subscribe::ReadSendParam(&message, &subscription);
    if (subscribing) {
      std::lock_guard<std::mutex> hold(lock_);
      subscriptions_.push_back(subscription.a);
    }
    if (answers_.fault == kErrorReply) {
      reply->set_reply_error();
    } else if (subscribing && answers_.fault == kCloseOnSubscribe) {
      channel_->Close();
      return true;
    } else if (subscribing) {
      Send(answers_.before_reply);
      ControlMsg_Subscribe::Schema::WriteReplyParam(
          reply.get(), ControlMsg_Subscribe::ReplyParam(answers_.subscribed));
    } else {
      ControlMsg_InvokeMethod::Schema::WriteReplyParam(
          reply.get(),
          ControlMsg_InvokeMethod::ReplyParam(answers_.invoke_status, answers_.invoke_result));
    }
    channel_->Send(reply.release());
    if (subscribing)
      Send(answers_.after_reply);
    return true;
  }

 private:
  void Send(const std::vector<Event>& events) {
    for (const Event& event : events)
      channel_->Send(new ControlMsg_Event(event.id, event.strings));
  }

  const Answers answers_;
  base::Thread io_thread_{"fake_control"};
  std::unique_ptr<IPC::Channel> channel_;
  bool serving_ = false;
  mutable std::mutex lock_;
  std::vector<int> subscriptions_;
};

Answers With(int invoke_status, Fault fault = kNone) {
  Answers answers;
  answers.invoke_status = invoke_status;
  answers.fault = fault;
  return answers;
}

// avctl's failure line for a discovery the host could not invoke.
std::string NotInvoked(const std::string& reason) {
  return "avctl: the host could not invoke AvManagerImpl::OnDiscovery of av_plugin: " + reason +
         "\n";
}

TEST(ControlCommandsTest, EachAnswerOfTheHostEndsTheCommandItsWay) {
  const std::string kPath = "/tmp/avctl-control-" + std::to_string(getpid());
  Answers refused;
  refused.subscribed = false;
  Answers not_found;
  not_found.invoke_result = false;
  Answers with_events;
  with_events.before_reply = {{35, {"tv-1", "av_plugin"}}};
  with_events.after_reply = {{37, {"tv-1", "av_plugin"}}, {40, {}}, {41, {"unread"}}};
  const struct {
    std::vector<std::string> words;  // after --control
    Answers answers;
    int exit_code;
    std::string printed;  // stdout then stderr
    int subscription;     // the event id subscribed to; 0 for none
  } rows[] = {
      {{"discover", "tv-1"}, not_found, 0, "{\"ok\":false}\n", 0},
      {{"disconnect", ""}, not_found, 0, "{\"ok\":false}\n", 0},
      {{"discover", "tv-1"}, With(1), 1, NotInvoked("no such method is registered (status 1)"), 0},
      {{"discover", "tv-1"},
       With(2),
       1,
       NotInvoked("the method does not take one string and answer a bool (status 2)"),
       0},
      {{"discover", "tv-1"},
       With(3),
       1,
       NotInvoked("the class has no GetInstance giving the object (status 3)"),
       0},
      {{"discover", "tv-1"}, With(4), 1, NotInvoked("the request was incomplete (status 4)"), 0},
      {{"discover", "tv-1"}, With(9), 1, NotInvoked("unknown status (status 9)"), 0},
      {{"disconnect", "tv-1"},
       With(0, kErrorReply),
       1,
       "avctl: the host answered with an error reply\n",
       0},
      {{"events"}, With(0, kErrorReply), 1, "avctl: the host answered with an error reply\n", -1},
      {{"--timeout", "200", "disconnect", "tv-1"},
       With(0, kSilent),
       1,
       "avctl: no reply from " + kPath + " within 200 ms\n",
       0},
      {{"--timeout", "200", "events"},
       With(0, kSilent),
       1,
       "avctl: no reply from " + kPath + " within 200 ms\n",
       0},
      {{"events"},
       With(0, kCloseOnSubscribe),
       1,
       "avctl: lost the connection to " + kPath + ": the server closed the connection\n",
       -1},
      {{"events"}, refused, 1, "avctl: the host refused the subscription to events\n", -1},
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
    EXPECT_EQ(row.subscription ? std::vector<int>{row.subscription} : std::vector<int>(),
              host.subscriptions());
  }
}

}  // namespace
}  // namespace avctl
