#include "tools/avctl/fake_control_host.h"

#include "base/values.h"
#include "ipc/ipc_sync_message.h"
#include "tools/control/control_messages.h"

namespace avctl {
namespace test {

FakeControlHost::FakeControlHost(const std::string& path, const Answers& answers)
    : answers_(answers) {
  if (!io_thread_.Start())
    return;
  channel_ = std::make_unique<IPC::Channel>(path, IPC::Channel::MODE_NAMED_SERVER, this);
  serving_ = channel_->Connect(io_thread_.message_loop());
}

FakeControlHost::~FakeControlHost() {
  // The channel goes first: it needs its I/O loop to close.
  channel_.reset();
  io_thread_.Stop();
}

std::vector<std::vector<std::string>> FakeControlHost::invocations() const {
  std::lock_guard<std::mutex> hold(lock_);
  return invocations_;
}

std::vector<int> FakeControlHost::subscriptions() const {
  std::lock_guard<std::mutex> hold(lock_);
  return subscriptions_;
}

bool FakeControlHost::SendEvent(const Event& event) {
  return channel_ && channel_->Send(new ControlMsg_Event(event.id, event.strings));
}

void FakeControlHost::Close() {
  if (channel_)
    channel_->Close();
}

bool FakeControlHost::OnMessageReceived(const IPC::Message& message) {
  if (answers_.silent)
    return true;
  if (answers_.error_reply && message.is_sync()) {
    IPC::Message* reply = IPC::SyncMessage::GenerateReply(&message);
    reply->set_reply_error();
    channel_->Send(reply);
  } else if (message.type() == ControlMsg_InvokeMethod::ID) {
    AnswerInvoke(message);
  } else if (message.type() == ControlMsg_Subscribe::ID) {
    AnswerSubscribe(message);
  }
  return true;
}

void FakeControlHost::AnswerInvoke(const IPC::Message& request) {
  ControlMsg_InvokeMethod::SendParam params;
  if (ControlMsg_InvokeMethod::ReadSendParam(&request, &params)) {
    std::vector<std::string> strings;
    for (const char* key : {"component", "class", "method", "argument"}) {
      std::string text;
      params.a.GetString(key, &text);
      strings.push_back(text);
    }
    std::lock_guard<std::mutex> hold(lock_);
    invocations_.push_back(strings);
  }
  IPC::Message* reply = IPC::SyncMessage::GenerateReply(&request);
  ControlMsg_InvokeMethod::Schema::WriteReplyParam(
      reply, ControlMsg_InvokeMethod::ReplyParam(answers_.invoke_status, answers_.invoke_result));
  channel_->Send(reply);
}

void FakeControlHost::AnswerSubscribe(const IPC::Message& request) {
  ControlMsg_Subscribe::SendParam params;
  if (!ControlMsg_Subscribe::ReadSendParam(&request, &params))
    return;
  {
    std::lock_guard<std::mutex> hold(lock_);
    subscriptions_.push_back(params.a);  // before the reply, which ends a refused client
  }
  if (answers_.close_on_subscribe) {
    channel_->Close();
  } else {
    SendEvents(answers_.events_before_reply);
    IPC::Message* reply = IPC::SyncMessage::GenerateReply(&request);
    ControlMsg_Subscribe::Schema::WriteReplyParam(
        reply, ControlMsg_Subscribe::ReplyParam(answers_.subscribed));
    channel_->Send(reply);
    SendEvents(answers_.events_after_reply);
  }
}

void FakeControlHost::SendEvents(const std::vector<Event>& events) {
  for (const Event& event : events)
    SendEvent(event);
}

}  // namespace test
}  // namespace avctl
