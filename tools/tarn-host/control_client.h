// One client of tarn-host's control channel: answers its requests (tools/control/
// control_messages.h) and forwards to it the events it subscribed to.
//
// Requests arrive on the channel's I/O thread. Events are forwarded from whichever thread
// publishes them, so every use of the client's channel goes through Send(), which stops
// sending once Detach() has run; the channel may then go away.

#ifndef TOOLS_TARN_HOST_CONTROL_CLIENT_H_
#define TOOLS_TARN_HOST_CONTROL_CLIENT_H_

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "ipc/ipc_channel.h"
#include "ipc/ipc_message.h"

namespace base {
class DictionaryValue;
}  // namespace base

namespace evt {
class Event;
}  // namespace evt

namespace tarn_host {

class ControlServer;
class MethodInvoker;
class TrafficMonitor;

class ControlClient : public IPC::Channel::Listener, public IPC::Message::Sender {
 public:
  // |channel|, named |channel_name|, reaches the client and must stay usable until
  // Detach() returns; |invoker|, |server| (which counts the clients for the status) and
  // |monitor| (told of every exchange, and the source of the status; may be null) must
  // outlive the client. None is owned.
  ControlClient(IPC::Message::Sender* channel,
                const std::string& channel_name,
                MethodInvoker* invoker,
                const ControlServer* server,
                TrafficMonitor* monitor);
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
  void OnChannelConnected(int32_t peer_pid) override;

  // Whether the client is subscribed to events. Any thread.
  bool subscribed() const;

  // IPC::Message::Sender: sends to the client unless detached. Takes ownership of
  // |message|. Any thread.
  bool Send(IPC::Message* message) override;

 private:
  // Answers |message|; on the I/O thread.
  void Dispatch(const IPC::Message& message);

  // The handlers of the requests, called with the decoded parameters.
  void OnInvokeMethod(const base::DictionaryValue& request, int* status, bool* result);
  void OnSubscribe(int event_id, bool* subscribed);
  void OnStatus(base::DictionaryValue* status);

  // Sends |event| as a ControlMsg_Event when the client subscribed to its id. On the
  // publishing thread.
  void ForwardEvent(const evt::Event& event);

  MethodInvoker* const invoker_;       // not owned
  const ControlServer* const server_;  // not owned
  TrafficMonitor* const monitor_;      // not owned; may be null
  const std::string channel_name_;
  // On the I/O thread: the client's pid, and while an exchange is observed, its reply.
  int32_t peer_pid_ = -1;
  std::atomic<bool> observing_{false};  // read by senders of events on other threads
  std::unique_ptr<IPC::Message> observed_reply_;

  mutable std::mutex lock_;
  IPC::Message::Sender* channel_;  // not owned; null once detached; guarded by |lock_|
  std::set<int> event_ids_;        // subscribed ids, or kAllEvents; guarded by |lock_|
  int subscription_ = 0;           // the event bus handle, 0 for none; guarded by |lock_|
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_CONTROL_CLIENT_H_
