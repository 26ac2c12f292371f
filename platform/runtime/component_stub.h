// A component's end of an IPC link: it owns the channel, receives the peer's messages on
// the runtime thread it was given first, and hands each to the component's handlers.
// Synchronous messages go to SyncMessageHandler(), the others to ASyncMessageHandler(); a
// synchronous message that no handler takes is answered with an error reply, so that no
// peer waits for an answer that never comes.
//
// A message is read, dispatched and answered on the same thread, the first one: there is
// no hand-off between threads on the way. Replies sent from inside a handler are written at
// once.

#ifndef RUNTIME_COMPONENT_STUB_H_
#define RUNTIME_COMPONENT_STUB_H_

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "ipc/ipc_channel.h"
#include "ipc/ipc_message.h"

namespace base {
class Thread;
class WaitableEvent;
}  // namespace base

namespace runtime {

class LinkObserver;

class ComponentStub : public IPC::Channel::Listener, public IPC::Message::Sender {
 public:
  // |first_thread| accepts, reads and dispatches the link's messages; |second_thread| is the
  // runtime's control thread, where the platform may post its own work. |connected|, if
  // given, is signalled each time a peer's hello arrives. None of them is owned; the
  // threads must be running when Init() is called and outlive the stub.
  ComponentStub(const std::string& channel_name,
                IPC::Channel::Mode mode,
                base::Thread* first_thread,
                base::Thread* second_thread,
                base::WaitableEvent* connected);
  // Closes the channel; no handler runs once it returns.
  ~ComponentStub() override;
  ComponentStub(const ComponentStub&) = delete;
  ComponentStub& operator=(const ComponentStub&) = delete;

  // Sets the channel up on the first thread. False when it cannot (a path that cannot be
  // bound, a thread that is not running).
  bool Init();

  // IPC::Channel::Listener, on the first thread.
  bool OnMessageReceived(const IPC::Message& message) override;
  void OnChannelConnected(int32_t peer_pid) override;
  void OnChannelError() override;

  // IPC::Message::Sender: sends to the link's peer. Takes ownership of |message|.
  bool Send(IPC::Message* message) override;
  // As Send(). The channel never blocks on the peer (what does not fit in the socket is
  // queued), so there is no wait to bound; |timeout_ms| is accepted for callers that
  // expect it.
  virtual bool SendWithTimeout(IPC::Message* message, int timeout_ms);

  // The component's handlers. Each returns whether it handled the message; the defaults
  // handle nothing.
  virtual bool SyncMessageHandler(const IPC::Message& message);
  virtual bool ASyncMessageHandler(const IPC::Message& message);

  // Routes |message| to the handler for its kind, answering an unhandled synchronous
  // message with an error reply.
  virtual void MessageHandlerHelper(const IPC::Message& message);

  // Makes |observer| (not owned; null for none) hear of every exchange on every stub's link
  // in this process. Set it before links open and clear it after they have closed.
  static void SetLinkObserver(LinkObserver* observer);

  const std::string& channel_name() const { return channel_name_; }
  base::Thread* first_thread() const { return first_thread_; }
  base::Thread* second_thread() const { return second_thread_; }

 private:
  const std::string channel_name_;
  const IPC::Channel::Mode mode_;
  base::Thread* const first_thread_;      // not owned
  base::Thread* const second_thread_;     // not owned
  base::WaitableEvent* const connected_;  // not owned; may be null
  // Tells the link observer of the exchange of |observed_request_| with |reply| (null for
  // none); on the first thread.
  void ReportExchange(const IPC::Message* reply);

  std::unique_ptr<IPC::Channel> channel_;  // owned; created by Init()
  // On the first thread, while a message is dispatched with an observer installed and its
  // exchange is not reported yet: the message, and when it arrived.
  const IPC::Message* observed_request_ = nullptr;
  std::chrono::steady_clock::time_point observed_start_;
};

}  // namespace runtime

#endif  // RUNTIME_COMPONENT_STUB_H_
