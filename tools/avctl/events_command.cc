#include "tools/avctl/events_command.h"

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "ipc/ipc_message.h"
#include "ipc/ipc_sync_message.h"
#include "tools/avctl/command_context.h"
#include "tools/avctl/connection.h"
#include "tools/avctl/value_json.h"
#include "tools/control/control_messages.h"

namespace avctl {

namespace {

typedef std::chrono::steady_clock Clock;

// How long one wait lasts before the stop request is looked at again.
const std::chrono::milliseconds kWaitSlice(200);

// Watches one subscription. The subscription request is posted rather than exchanged so
// that an event the host forwards before its reply is printed, not skipped.
class EventWatcher {
 public:
  EventWatcher(CommandContext* context, const EventsOptions& options)
      : context_(context),
        options_(options),
        connection_(context->options().control_path, "the host", context) {}

  int Run(const std::function<bool()>& stop_requested) {
    if (!connection_.Connect() || !Subscribe())
      return kExitFailure;
    const Clock::time_point reply_deadline = Clock::now() + context_->timeout();
    while (!stop_requested() && (options_.count == 0 || printed_ < options_.count)) {
      if (!subscribed_ && Clock::now() >= reply_deadline) {
        return context_->Fail("no reply from " + connection_.path() + " within " +
                              std::to_string(context_->options().timeout_ms) + " ms");
      }
      std::unique_ptr<IPC::Message> message;
      const IPC::SyncClient::Result result = connection_.Receive(kWaitSlice, &message);
      if (result == IPC::SyncClient::RESULT_TIMEOUT)
        continue;
      if (result != IPC::SyncClient::RESULT_OK || !Take(*message))
        return kExitFailure;
    }
    return kExitOk;
  }

 private:
  bool Subscribe() {
    auto* request = new ControlMsg_Subscribe(options_.event_id, &subscribed_);
    deserializer_.reset(request->GetReplyDeserializer());
    request_id_ = IPC::SyncMessage::GetMessageId(*request);
    return connection_.Post(request);
  }

  // Handles one message from the host; false, with the reason written, when watching
  // cannot go on.
  bool Take(const IPC::Message& message) {
    if (IPC::SyncMessage::IsMessageReplyTo(message, request_id_))
      return TakeReply(message);
    if (message.type() != ControlMsg_Event::ID)
      return true;  // nothing this client asked for
    int event_id = 0;
    std::vector<std::string> strings;
    if (!ControlMsg_Event::Read(&message, &event_id, &strings)) {
      context_->Fail("skipped an event message that cannot be decoded");
      return true;
    }
    Json line = Json::object();
    line["id"] = event_id;
    line["data"] = strings;
    if (!context_->Print(line)) {
      context_->Fail("cannot write the event to the standard output");
      return false;
    }
    ++printed_;
    return true;
  }

  bool TakeReply(const IPC::Message& reply) {
    if (reply.is_reply_error()) {
      context_->Fail(connection_.peer() + " answered with an error reply");
      return false;
    }
    if (!deserializer_->SerializeOutputParameters(reply)) {
      context_->Fail("the reply of " + connection_.peer() + " cannot be decoded");
      return false;
    }
    if (!subscribed_) {
      context_->Fail(connection_.peer() + " refused the subscription to events");
      return false;
    }
    context_->Note(options_.event_id < 0
                       ? std::string("subscribed to every event")
                       : "subscribed to event " + std::to_string(options_.event_id));
    return true;
  }

  CommandContext* const context_;  // not owned
  const EventsOptions options_;
  Connection connection_;
  std::unique_ptr<IPC::MessageReplyDeserializer> deserializer_;  // fills |subscribed_|
  int request_id_ = 0;
  bool subscribed_ = false;
  int printed_ = 0;
};

}  // namespace

int RunEvents(CommandContext* context,
              const EventsOptions& options,
              const std::function<bool()>& stop_requested) {
  EventWatcher watcher(context, options);
  return watcher.Run(stop_requested);
}

}  // namespace avctl
