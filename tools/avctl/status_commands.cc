#include "tools/avctl/status_commands.h"

#include <chrono>
#include <cstdio>
#include <sstream>
#include <string>
#include <thread>

#include "base/values.h"
#include "ipc/ipc_sync_client.h"
#include "tools/avctl/command_context.h"
#include "tools/avctl/connection.h"
#include "tools/avctl/value_json.h"
#include "tools/control/control_messages.h"

namespace avctl {

namespace {

typedef std::chrono::steady_clock Clock;

// How long a wait pauses between two tries.
const std::chrono::milliseconds kWaitRetry(50);

// The table `avctl status --human` prints.
std::string HumanStatus(const Json& status) {
  std::ostringstream text;
  char uptime[32];
  std::snprintf(uptime, sizeof(uptime), "%.1f", status.value("uptime_s", 0.0));
  text << "uptime " << uptime << " s, " << status.value("control_clients", 0)
       << " control clients, " << status.value("event_subscribers", 0) << " subscribed to events\n";
  const Json links = status.value("links", Json::array());
  const Json messages = status.value("messages", Json::object());
  const Json methods = status.value("methods", Json::object());
  for (const Json& link : links)
    text << "link " << link.value("path", "") << ": " << link.value("peers", 0) << " peers\n";
  const Json cec = status.value("cec", Json::object());
  text << "CEC exchanges: " << cec.value("requests", 0) << ", failed " << cec.value("errors", 0)
       << ", timed out " << cec.value("timeouts", 0) << "\n";
  text << "message                          requests   errors\n";
  for (const auto& message : messages.items()) {
    char row[128];
    std::snprintf(row, sizeof(row), "%-32s %8d %8d\n", message.key().c_str(),
                  message.value().value("requests", 0), message.value().value("errors", 0));
    text << row;
  }
  text << "method                           requests   errors   p50 us   p99 us\n";
  for (const auto& method : methods.items()) {
    const Json& figures = method.value();
    char row[160];
    std::snprintf(row, sizeof(row), "%-32s %8d %8d %8d %8d\n", method.key().c_str(),
                  figures.value("requests", 0), figures.value("errors", 0),
                  figures.value("p50_us", 0), figures.value("p99_us", 0));
    text << row;
  }
  return text.str();
}

// The host's figures, without writing anything when it does not answer.
bool TryStatus(const std::string& control_path,
               std::chrono::milliseconds timeout,
               base::DictionaryValue* status) {
  IPC::SyncClient client;
  return client.Connect(control_path, timeout) == IPC::SyncClient::RESULT_OK &&
         client.Send(new ControlMsg_Status(status), timeout) == IPC::SyncClient::RESULT_OK;
}

}  // namespace

int RunStatus(CommandContext* context, bool human) {
  base::DictionaryValue status;
  Connection connection(context->options().control_path, "the host", context);
  if (!connection.Connect() || !connection.Exchange(new ControlMsg_Status(&status)))
    return kExitFailure;
  Json json;
  std::string error;
  if (!ValueToJson(status, &json, &error))
    return context->Fail("the host's figures cannot be shown: " + error);
  if (!human)
    return context->Reply(json);
  return context->PrintText(HumanStatus(json));
}

int RunWait(CommandContext* context, int subscribers) {
  const Clock::time_point deadline = Clock::now() + context->timeout();
  for (;;) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    base::DictionaryValue status;
    int subscribed = 0;
    IPC::SyncClient link;
    if (left.count() > 0 &&
        link.Connect(context->options().socket_path, left) == IPC::SyncClient::RESULT_OK &&
        TryStatus(context->options().control_path, left, &status) &&
        status.GetInteger("event_subscribers", &subscribed) && subscribed >= subscribers) {
      Json ready = Json::object();
      ready["ready"] = true;
      return context->Reply(ready);
    }
    if (Clock::now() + kWaitRetry >= deadline) {
      return context->Fail("the host was not ready within " +
                           std::to_string(context->options().timeout_ms) + " ms");
    }
    std::this_thread::sleep_for(kWaitRetry);
  }
}

}  // namespace avctl
