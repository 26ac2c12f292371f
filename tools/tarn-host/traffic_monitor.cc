#include "tools/tarn-host/traffic_monitor.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

#include "base/time/time.h"
#include "base/values.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_message_utils.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "tools/control/control_messages.h"
#include "tvapp/message.h"
#include "tvapp/oc_string.h"

namespace tarn_host {

namespace {

// The latencies kept per method for its percentiles.
const size_t kRecentLatencies = 1024;

// The distinct message and method names counted on their own; any later one is counted
// under kOtherName, so that peers sending made-up names cannot grow the tables.
const size_t kMaxNames = 64;
const char kOtherName[] = "(other)";

// The entry of |table| for |name|, or for kOtherName once the table is full.
template <class Table>
typename Table::mapped_type& EntryFor(Table* table, const std::string& name) {
  auto it = table->find(name);
  if (it != table->end())
    return it->second;
  return (*table)[table->size() < kMaxNames ? name : kOtherName];
}

// Appends |message|'s parameters, as |Msg| reads them, to |*text|.
template <class Msg>
void RenderRequest(const IPC::Message& message, std::string* text) {
  typename Msg::Schema::SendParam params;
  if (Msg::Schema::ReadSendParam(&message, &params))
    IPC::LogParam(params, text);
  else
    text->append("<cannot be decoded>");
}

template <class Msg>
void RenderReply(const IPC::Message& message, std::string* text) {
  typename Msg::Schema::ReplyParam params;
  if (Msg::Schema::ReadReplyParam(&message, &params))
    IPC::LogParam(params, text);
  else
    text->append("<cannot be decoded>");
}

// A synchronous message the host can name and render.
struct KnownMessage {
  uint32_t type;
  const char* name;
  void (*render_request)(const IPC::Message&, std::string*);
  void (*render_reply)(const IPC::Message&, std::string*);
};

template <class Msg>
constexpr KnownMessage Known(const char* name) {
  return KnownMessage{Msg::ID, name, &RenderRequest<Msg>, &RenderReply<Msg>};
}

const KnownMessage kKnownMessages[] = {
    Known<AvMsg_ServiceInvoke>("AvMsg_ServiceInvoke"),
    Known<AvMsg_GetDeviceProperty>("AvMsg_GetDeviceProperty"),
    Known<AvMsg_RegisterDeviceRequest>("AvMsg_RegisterDeviceRequest"),
    Known<AvMsg_UnregisterDeviceRequest>("AvMsg_UnregisterDeviceRequest"),
    Known<AvMsg_ManualRescanDevices>("AvMsg_ManualRescanDevices"),
    Known<AvMsg_DeleteDeviceRequest>("AvMsg_DeleteDeviceRequest"),
    Known<ControlMsg_InvokeMethod>("ControlMsg_InvokeMethod"),
    Known<ControlMsg_Subscribe>("ControlMsg_Subscribe"),
    Known<ControlMsg_Status>("ControlMsg_Status"),
};

const KnownMessage* FindKnown(uint32_t type) {
  for (const KnownMessage& known : kKnownMessages) {
    if (known.type == type)
      return &known;
  }
  return nullptr;
}

std::string NameOf(const IPC::Message& message) {
  if (const KnownMessage* known = FindKnown(message.type()))
    return known->name;
  return "type " + std::to_string(message.type());
}

// The |fraction| percentile of |samples| (nearest rank).
int64_t Percentile(std::vector<int64_t> samples, double fraction) {
  if (samples.empty())
    return 0;
  size_t rank = static_cast<size_t>(fraction * static_cast<double>(samples.size()));
  rank = std::min(rank, samples.size() - 1);
  std::nth_element(samples.begin(), samples.begin() + static_cast<long>(rank), samples.end());
  return samples[rank];
}

base::DictionaryValue* CountsValue(int requests, int errors) {
  auto* value = new base::DictionaryValue;
  value->SetInteger("requests", requests);
  value->SetInteger("errors", errors);
  return value;
}

}  // namespace

TrafficMonitor::TrafficMonitor(std::ostream* trace)
    : trace_(trace), start_(std::chrono::steady_clock::now()) {}

TrafficMonitor::~TrafficMonitor() = default;

void TrafficMonitor::AddLink(const std::string& link) {
  std::lock_guard<std::mutex> lock(lock_);
  link_peers_.emplace(link, 0);
}

void TrafficMonitor::OnLinkExchange(const std::string& link,
                                    int32_t peer_pid,
                                    const IPC::Message& request,
                                    const IPC::Message* reply,
                                    std::chrono::microseconds elapsed) {
  OnMessageExchange("link", link, peer_pid, request, reply, elapsed);
}

void TrafficMonitor::OnLinkPeerConnected(const std::string& link, int32_t peer_pid) {
  std::lock_guard<std::mutex> lock(lock_);
  ++link_peers_[link];
}

void TrafficMonitor::OnLinkPeerLeft(const std::string& link) {
  std::lock_guard<std::mutex> lock(lock_);
  int& peers = link_peers_[link];
  peers = std::max(0, peers - 1);
}

void TrafficMonitor::OnControlExchange(const std::string& channel,
                                       int32_t peer_pid,
                                       const IPC::Message& request,
                                       const IPC::Message* reply,
                                       std::chrono::microseconds elapsed) {
  OnMessageExchange("control", channel, peer_pid, request, reply, elapsed);
}

void TrafficMonitor::OnMessageExchange(const char* kind,
                                       const std::string& where,
                                       int32_t peer_pid,
                                       const IPC::Message& request,
                                       const IPC::Message* reply,
                                       std::chrono::microseconds elapsed) {
  const std::string text = Record(request, reply, elapsed, trace_ != nullptr);
  if (trace_)
    Trace(kind, where, peer_pid, text, elapsed);
}

void TrafficMonitor::OnExchange(const std::string& instance,
                                const ORVELL0300::CMessage& request,
                                const ORVELL0300::CMessage* reply,
                                bool timed_out,
                                std::chrono::microseconds elapsed) {
  bool returned = false;
  const bool failed = !reply ||
                      !reply->Query(OCString("return", OCString::kTextEncodingUtf8), returned) ||
                      !returned;
  {
    std::lock_guard<std::mutex> lock(lock_);
    ++applications_.requests;
    applications_.errors += failed ? 1 : 0;
    application_timeouts_ += timed_out ? 1 : 0;
  }
  if (!trace_)
    return;
  const std::string outcome = reply       ? reply->ToString()
                              : timed_out ? "(no reply in time)"
                                          : "(no reply)";
  Trace("application", instance, -1, request.ToString() + " -> " + outcome, elapsed);
}

void TrafficMonitor::FillStatus(size_t control_clients, base::DictionaryValue* status) const {
  status->SetDouble(
      "uptime_s", std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count());
  std::lock_guard<std::mutex> lock(lock_);
  auto* links = new base::ListValue;
  for (const auto& link : link_peers_) {
    auto* entry = new base::DictionaryValue;
    entry->SetString("path", link.first);
    entry->SetInteger("peers", link.second);
    links->Append(entry);
  }
  status->Set("links", links);
  status->SetInteger("control_clients", static_cast<int>(control_clients));
  auto* messages = new base::DictionaryValue;
  for (const auto& message : messages_) {
    messages->SetWithoutPathExpansion(message.first,
                                      CountsValue(message.second.requests, message.second.errors));
  }
  status->Set("messages", messages);
  auto* methods = new base::DictionaryValue;
  for (const auto& method : methods_) {
    base::DictionaryValue* entry =
        CountsValue(method.second.counts.requests, method.second.counts.errors);
    const std::vector<int64_t> recent(method.second.recent_us.begin(),
                                      method.second.recent_us.end());
    entry->SetInteger("p50_us", static_cast<int>(Percentile(recent, 0.50)));
    entry->SetInteger("p99_us", static_cast<int>(Percentile(recent, 0.99)));
    methods->SetWithoutPathExpansion(method.first, entry);
  }
  status->Set("methods", methods);
  base::DictionaryValue* cec = CountsValue(applications_.requests, applications_.errors);
  cec->SetInteger("timeouts", application_timeouts_);
  status->Set("cec", cec);
}

std::string TrafficMonitor::Record(const IPC::Message& request,
                                   const IPC::Message* reply,
                                   std::chrono::microseconds elapsed,
                                   bool render) {
  const bool failed = !reply || reply->is_reply_error();
  std::string method;
  bool method_failed = failed;
  if (request.type() == AvMsg_ServiceInvoke::ID) {
    AvMsg_ServiceInvoke::SendParam params;
    if (AvMsg_ServiceInvoke::ReadSendParam(&request, &params))
      method = params.a;
    AvMsg_ServiceInvoke::ReplyParam results;
    if (!failed && AvMsg_ServiceInvoke::ReadReplyParam(reply, &results))
      method_failed = results.b != 0;
  }
  const std::string name = NameOf(request);
  {
    std::lock_guard<std::mutex> lock(lock_);
    Counts& counts = EntryFor(&messages_, name);
    ++counts.requests;
    counts.errors += failed ? 1 : 0;
    if (!method.empty()) {
      MethodFigures& figures = EntryFor(&methods_, method);
      ++figures.counts.requests;
      figures.counts.errors += method_failed ? 1 : 0;
      figures.recent_us.push_back(elapsed.count());
      if (figures.recent_us.size() > kRecentLatencies)
        figures.recent_us.pop_front();
    }
  }
  if (!render)
    return std::string();
  const KnownMessage* known = FindKnown(request.type());
  std::string text = name + "(";
  if (known)
    known->render_request(request, &text);
  text += ") -> ";
  if (!reply) {
    text += "(no reply)";
  } else if (reply->is_reply_error()) {
    text += "(error reply)";
  } else {
    text += "(";
    if (known)
      known->render_reply(*reply, &text);
    text += ")";
  }
  return text;
}

void TrafficMonitor::Trace(const std::string& kind,
                           const std::string& where,
                           int32_t peer_pid,
                           const std::string& text,
                           std::chrono::microseconds elapsed) {
  std::string line = base::Time::Now().UTCTimeOfDay(true) + " " + kind + " " + where;
  if (peer_pid >= 0)
    line += " pid " + std::to_string(peer_pid);
  line += " " + text + " (" + std::to_string(elapsed.count()) + " us)\n";
  std::lock_guard<std::mutex> lock(lock_);
  *trace_ << line << std::flush;
}

}  // namespace tarn_host
