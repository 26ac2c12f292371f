// One client of tarn-host's control channel: answers its requests (tools/control/
// control_messages.h) and forwards to it the events it subscribed to.
//
// Requests arrive on the channel's I/O thread. Events are forwarded from whichever thread
// publishes them, so every use of the client's channel goes through Send(), which stops
// sending once Detach() has run; the channel may then go away.

#ifndef TOOLS_TARN_HOST_CONTROL_CLIENT_H_
#define TOOLS_TARN_HOST_CONTROL_CLIENT_H_

#include <mutex>
#include <set>

#include "ipc/ipc_channel.h"
#include "ipc/ipc_message.h"

namespace base {
class DictionaryValue;
}  // namespace base

namespace evt {
class Event;
}  // namespace evt

namespace tarn_host {

class MethodInvoker;

class ControlClient : public IPC::Channel::Listener, public IPC::Message::Sender {
 public:
  // |channel| reaches the client and must stay usable until Detach() returns; |invoker|
  // must outlive the client. Neither is owned.
  ControlClient(IPC::Message::Sender* channel, MethodInvoker* invoker);
  // Detaches.
  ~ControlClient() override;
  ControlClient(const ControlClient&) = delete;
  ControlClient& operator=(const ControlClient&) = delete;

  // Ends the client's subscriptions and its use of the channel: once this returns, nothing
  // is sent to it. Any thread, any number of times.
  void Detach();

  // IPC::Channel::Listener, on the I/O thread. Unknown synchronous requests and requests
  // whose parameters cannot be read are answered with an error reply.
  bool OnMessageReceived(const IPC::Message& message) override;

  // IPC::Message::Sender: sends to the client unless detached. Takes ownership of
  // |message|. Any thread.
  bool Send(IPC::Message* message) override;

 private:
  // The handlers of the two requests, called with the decoded parameters.
  void OnInvokeMethod(const base::DictionaryValue& request, int* status, bool* result);
  void OnSubscribe(int event_id, bool* subscribed);

  // Sends |event| as a ControlMsg_Event when the client subscribed to its id. On the
  // publishing thread.
  void ForwardEvent(const evt::Event& event);

  MethodInvoker* const invoker_;  // not owned

  std::mutex lock_;
  IPC::Message::Sender* channel_;  // not owned; null once detached; guarded by |lock_|
  std::set<int> event_ids_;        // subscribed ids, or kAllEvents; guarded by |lock_|
  int subscription_ = 0;           // the event bus handle, 0 for none; guarded by |lock_|
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_CONTROL_CLIENT_H_
