// Test helper: a stand-in for tarn-host's control channel. It serves one named server
// socket on its own I/O thread, records the control requests it receives, answers them as
// the test says, and forwards the events the test gives it.

#ifndef TOOLS_AVCTL_FAKE_CONTROL_HOST_H_
#define TOOLS_AVCTL_FAKE_CONTROL_HOST_H_

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/threading/thread.h"
#include "ipc/ipc_channel.h"

namespace avctl {
namespace test {

class FakeControlHost : public IPC::Channel::Listener {
 public:
  struct Event {
    int id;
    std::vector<std::string> strings;
  };

  // How the host answers.
  struct Answers {
    int invoke_status = 0;  // a control::InvokeStatus
    bool invoke_result = true;
    bool subscribed = true;
    bool error_reply = false;         // answer every request with an error reply
    bool silent = false;              // answer no request
    bool close_on_subscribe = false;  // leave instead of answering a subscription
    // Sent on a subscription, before its reply and after it.
    std::vector<Event> events_before_reply;
    std::vector<Event> events_after_reply;
  };

  // Serves at |path|, answering with |answers|.
  FakeControlHost(const std::string& path, const Answers& answers);
  ~FakeControlHost() override;
  FakeControlHost(const FakeControlHost&) = delete;
  FakeControlHost& operator=(const FakeControlHost&) = delete;

  // Whether the socket is served.
  bool serving() const { return serving_; }

  // The four strings of each invocation received: component, class, method, argument.
  std::vector<std::vector<std::string>> invocations() const;
  // The event id of each subscription received.
  std::vector<int> subscriptions() const;

  // Forwards an event to the connected client. False when none is connected.
  bool SendEvent(const Event& event);

  // Stops serving: the client's connection is closed.
  void Close();

  // IPC::Channel::Listener:
  bool OnMessageReceived(const IPC::Message& message) override;

 private:
  void AnswerInvoke(const IPC::Message& request);
  void AnswerSubscribe(const IPC::Message& request);
  void SendEvents(const std::vector<Event>& events);

  const Answers answers_;
  base::Thread io_thread_{"fake_control"};
  std::unique_ptr<IPC::Channel> channel_;
  bool serving_ = false;

  mutable std::mutex lock_;
  std::vector<std::vector<std::string>> invocations_;
  std::vector<int> subscriptions_;
};

}  // namespace test
}  // namespace avctl

#endif  // TOOLS_AVCTL_FAKE_CONTROL_HOST_H_
