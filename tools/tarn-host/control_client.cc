#include "tools/tarn-host/control_client.h"

#include <chrono>
#include <string>
#include <vector>

#include "base/logging.h"
#include "base/values.h"
#include "event/event.h"
#include "event/event_manager.h"
#include "ipc/ipc_sync_message.h"
#include "tools/control/control_messages.h"
#include "tools/tarn-host/control_server.h"
#include "tools/tarn-host/method_invoker.h"
#include "tools/tarn-host/traffic_monitor.h"

namespace tarn_host {

namespace {

// Stands for every event id among a client's subscriptions.
const int kAllEvents = ControlMsg_Subscribe::kAllEvents;

}  // namespace

ControlClient::ControlClient(IPC::Message::Sender* channel,
                             const std::string& channel_name,
                             MethodInvoker* invoker,
                             const ControlServer* server,
                             TrafficMonitor* monitor)
    : invoker_(invoker),
      server_(server),
      monitor_(monitor),
      channel_name_(channel_name),
      channel_(channel) {}

ControlClient::~ControlClient() {
  Detach();
}

void ControlClient::Detach() {
  int subscription = 0;
  {
    std::lock_guard<std::mutex> lock(lock_);
    channel_ = nullptr;
    event_ids_.clear();
    subscription = subscription_;
    subscription_ = 0;
  }
  // Waits for a forwarding under way on another thread; it sends nothing any more.
  if (subscription != 0)
    evt::EventManager::GetInstance()->Unsubscribe(subscription);
}

bool ControlClient::OnMessageReceived(const IPC::Message& message) {
  if (message.is_reply())
    return true;  // the host sends clients no requests
  if (!message.is_sync()) {
    LOG_AT(logging::LOG_WARNING) << "Control client sent an asynchronous message of type "
                                 << message.type() << "; ignored";
    return true;
  }
  if (!monitor_) {
    Dispatch(message);
    return true;
  }
  const auto start = std::chrono::steady_clock::now();
  observing_ = true;
  Dispatch(message);
  observing_ = false;
  monitor_->OnControlExchange(channel_name_, peer_pid_, message, observed_reply_.get(),
                              std::chrono::duration_cast<std::chrono::microseconds>(
                                  std::chrono::steady_clock::now() - start));
  observed_reply_.reset();
  return true;
}

void ControlClient::OnChannelConnected(int32_t peer_pid) {
  peer_pid_ = peer_pid;
}

void ControlClient::Dispatch(const IPC::Message& message) {
  switch (message.type()) {
    case ControlMsg_InvokeMethod::ID:
      ControlMsg_InvokeMethod::Schema::Dispatch(&message, this, this,
                                                &ControlClient::OnInvokeMethod);
      return;
    case ControlMsg_Subscribe::ID:
      ControlMsg_Subscribe::Schema::Dispatch(&message, this, this, &ControlClient::OnSubscribe);
      return;
    case ControlMsg_Status::ID:
      ControlMsg_Status::Schema::Dispatch(&message, this, this, &ControlClient::OnStatus);
      return;
    default: {
      LOG_AT(logging::LOG_WARNING) << "Control client sent a request of unknown type "
                                   << message.type() << "; answered with an error";
      IPC::Message* reply = IPC::SyncMessage::GenerateReply(&message);
      reply->set_reply_error();
      Send(reply);
      return;
    }
  }
}

bool ControlClient::Send(IPC::Message* message) {
  // Only replies are sent while an exchange is observed, on the I/O thread; events come
  // from other threads and are not exchanges.
  if (observing_ && message->is_reply())
    observed_reply_ = std::make_unique<IPC::Message>(*message);
  std::lock_guard<std::mutex> lock(lock_);
  if (channel_ == nullptr) {
    delete message;
    return false;
  }
  return channel_->Send(message);
}

void ControlClient::OnInvokeMethod(const base::DictionaryValue& request,
                                   int* status,
                                   bool* result) {
  *status = invoker_->Invoke(request, result);
}

void ControlClient::OnSubscribe(int event_id, bool* subscribed) {
  *subscribed = false;
  if (event_id < kAllEvents) {
    LOG_AT(logging::LOG_WARNING) << "Control client asked for events of id " << event_id
                                 << "; refused";
    return;
  }
  bool first = false;
  {
    std::lock_guard<std::mutex> lock(lock_);
    if (channel_ == nullptr)
      return;
    event_ids_.insert(event_id);
    first = subscription_ == 0;
  }
  if (first) {
    // One subscription to the bus per client; ForwardEvent() picks the client's ids, so
    // that each event reaches the client once however its subscriptions overlap.
    const int handle = evt::EventManager::GetInstance()->Subscribe(
        evt::EventManager::kAllEvents, [this](const evt::Event& event) { ForwardEvent(event); });
    bool detached = false;
    {
      std::lock_guard<std::mutex> lock(lock_);
      detached = channel_ == nullptr;
      if (!detached)
        subscription_ = handle;
    }
    if (detached) {
      evt::EventManager::GetInstance()->Unsubscribe(handle);
      return;
    }
  }
  *subscribed = true;
  if (event_id == kAllEvents)
    LOG_AT(logging::LOG_INFO) << "Control client subscribed to every event";
  else
    LOG_AT(logging::LOG_INFO) << "Control client subscribed to event " << event_id;
}

bool ControlClient::subscribed() const {
  std::lock_guard<std::mutex> lock(lock_);
  return subscription_ != 0;
}

void ControlClient::OnStatus(base::DictionaryValue* status) {
  if (monitor_)
    monitor_->FillStatus(server_ ? server_->client_count() : 1, status);
  status->SetInteger("event_subscribers", server_ ? static_cast<int>(server_->subscriber_count())
                                                  : (subscribed() ? 1 : 0));
}

void ControlClient::ForwardEvent(const evt::Event& event) {
  {
    std::lock_guard<std::mutex> lock(lock_);
    if (channel_ == nullptr ||
        (event_ids_.count(kAllEvents) == 0 && event_ids_.count(event.id()) == 0)) {
      return;
    }
  }
  Send(new ControlMsg_Event(event.id(), event.ReadStrings()));
}

}  // namespace tarn_host
