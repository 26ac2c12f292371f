#include "runtime/component_stub.h"

#include <atomic>
#include <chrono>

#include "base/logging.h"
#include "base/message_loop/message_loop.h"
#include "base/synchronization/waitable_event.h"
#include "base/threading/thread.h"
#include "ipc/ipc_sync_message.h"
#include "runtime/link_observer.h"

namespace runtime {

namespace {

std::atomic<LinkObserver*> g_link_observer{nullptr};

}  // namespace

LinkObserver::~LinkObserver() = default;

// static
void ComponentStub::SetLinkObserver(LinkObserver* observer) {
  g_link_observer.store(observer);
}

ComponentStub::ComponentStub(const std::string& channel_name,
                             IPC::Channel::Mode mode,
                             base::Thread* first_thread,
                             base::Thread* second_thread,
                             base::WaitableEvent* connected)
    : channel_name_(channel_name),
      mode_(mode),
      first_thread_(first_thread),
      second_thread_(second_thread),
      connected_(connected) {}

ComponentStub::~ComponentStub() {
  if (channel_)
    channel_->Close();
}

bool ComponentStub::Init() {
  if (channel_ || first_thread_ == nullptr || first_thread_->message_loop() == nullptr)
    return false;
  channel_ = std::make_unique<IPC::Channel>(channel_name_, mode_, this);
  if (!channel_->Connect(first_thread_->message_loop())) {
    channel_.reset();
    return false;
  }
  return true;
}

bool ComponentStub::OnMessageReceived(const IPC::Message& message) {
  LinkObserver* observer = g_link_observer.load();
  if (!observer) {
    MessageHandlerHelper(message);
    return true;
  }
  observed_request_ = &message;
  observed_start_ = std::chrono::steady_clock::now();
  MessageHandlerHelper(message);
  if (observed_request_)
    ReportExchange(nullptr);  // no reply was sent
  return true;
}

void ComponentStub::ReportExchange(const IPC::Message* reply) {
  const IPC::Message* request = observed_request_;
  observed_request_ = nullptr;
  const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::steady_clock::now() - observed_start_);
  if (LinkObserver* observer = g_link_observer.load()) {
    observer->OnLinkExchange(channel_name_, channel_ ? channel_->peer_pid() : -1, *request, reply,
                             elapsed);
  }
}

void ComponentStub::OnChannelConnected(int32_t peer_pid) {
  LOG_AT(logging::LOG_INFO) << "Link " << channel_name_ << " connected to pid " << peer_pid;
  if (LinkObserver* observer = g_link_observer.load())
    observer->OnLinkPeerConnected(channel_name_, peer_pid);
  if (connected_)
    connected_->Signal();
}

void ComponentStub::OnChannelError() {
  LOG_AT(logging::LOG_INFO) << "Link " << channel_name_ << " lost its peer";
  if (LinkObserver* observer = g_link_observer.load())
    observer->OnLinkPeerLeft(channel_name_);
}

bool ComponentStub::Send(IPC::Message* message) {
  // The exchange is reported before its reply leaves, so that a peer that has its reply
  // finds it counted.
  if (message && message->is_reply() &&
      base::MessageLoop::current() == first_thread_->message_loop() && observed_request_) {
    ReportExchange(message);
  }
  if (!channel_) {
    delete message;
    return false;
  }
  return channel_->Send(message);
}

bool ComponentStub::SendWithTimeout(IPC::Message* message, int /*timeout_ms*/) {
  return Send(message);
}

bool ComponentStub::SyncMessageHandler(const IPC::Message&) {
  return false;
}

bool ComponentStub::ASyncMessageHandler(const IPC::Message&) {
  return false;
}

void ComponentStub::MessageHandlerHelper(const IPC::Message& message) {
  if (message.is_reply())
    return;  // a stub sends no requests, so it expects no replies
  if (!message.is_sync()) {
    ASyncMessageHandler(message);
    return;
  }
  if (SyncMessageHandler(message))
    return;
  IPC::Message* reply = IPC::SyncMessage::GenerateReply(&message);
  reply->set_reply_error();
  Send(reply);
}

}  // namespace runtime
