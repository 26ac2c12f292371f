// What tarn-host knows of its traffic: it counts every exchange on the components' links
// and on the control channel (requests and errors per message type, and per service method
// with latency percentiles), the peers of each link, and the exchanges with the CEC
// application; and, when tracing, writes one line per exchange.
//
// A trace line is
//   TIME KIND WHERE pid PID NAME(REQUEST) -> REPLY (MICROSECONDS us)
// e.g.
//   10:15:02.123456 link /run/user/1000/tarn/av_plugin.sock pid 4242
//   AvMsg_ServiceInvoke("GetSpeakerVolume", {"device_id":"x"}) -> ({"speaker_volume":0}, 0)
//   (37 us)
// on one line, where REPLY is "(error reply)" for an error reply and "(no reply)" when none
// was sent.

#ifndef TOOLS_TARN_HOST_TRAFFIC_MONITOR_H_
#define TOOLS_TARN_HOST_TRAFFIC_MONITOR_H_

#include <chrono>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <string>

#include "runtime/link_observer.h"
#include "tvapp/exchange_observer.h"

namespace base {
class DictionaryValue;
}

namespace tarn_host {

class TrafficMonitor : public runtime::LinkObserver, public ORVELL0300::CExchangeObserver {
 public:
  // |trace| (not owned; null for none) receives the trace lines and must outlive the
  // monitor.
  explicit TrafficMonitor(std::ostream* trace);
  ~TrafficMonitor() override;
  TrafficMonitor(const TrafficMonitor&) = delete;
  TrafficMonitor& operator=(const TrafficMonitor&) = delete;

  // A link the host serves, shown with no peers until one comes.
  void AddLink(const std::string& link);

  // runtime::LinkObserver, on the links' threads:
  void OnLinkExchange(const std::string& link,
                      int32_t peer_pid,
                      const IPC::Message& request,
                      const IPC::Message* reply,
                      std::chrono::microseconds elapsed) override;
  void OnLinkPeerConnected(const std::string& link, int32_t peer_pid) override;
  void OnLinkPeerLeft(const std::string& link) override;

  // An exchange on the control channel |channel| with the client |peer_pid|.
  void OnControlExchange(const std::string& channel,
                         int32_t peer_pid,
                         const IPC::Message& request,
                         const IPC::Message* reply,
                         std::chrono::microseconds elapsed);

  // ORVELL0300::CExchangeObserver: an exchange with an application instance (the CEC
  // application), on the sending thread.
  void OnExchange(const std::string& instance,
                  const ORVELL0300::CMessage& request,
                  const ORVELL0300::CMessage* reply,
                  bool timed_out,
                  std::chrono::microseconds elapsed) override;

  // Adds the figures to |*status|, as the control channel's status reply carries them
  // (docs/control-channel.md), with |control_clients| clients on the control channel.
  void FillStatus(size_t control_clients, base::DictionaryValue* status) const;

 private:
  struct Counts {
    int requests = 0;
    int errors = 0;
  };
  struct MethodFigures {
    Counts counts;
    std::deque<int64_t> recent_us;  // the latest latencies, for the percentiles
  };

  // Counts an exchange of IPC messages and traces it as |kind| at |where|.
  void OnMessageExchange(const char* kind,
                         const std::string& where,
                         int32_t peer_pid,
                         const IPC::Message& request,
                         const IPC::Message* reply,
                         std::chrono::microseconds elapsed);
  // Counts |request| and |reply| under the message's name and, for a service invocation,
  // under its method; returns the trace text "NAME(REQUEST) -> REPLY". |render| says
  // whether that text is wanted.
  std::string Record(const IPC::Message& request,
                     const IPC::Message* reply,
                     std::chrono::microseconds elapsed,
                     bool render);
  void Trace(const std::string& kind,
             const std::string& where,
             int32_t peer_pid,
             const std::string& text,
             std::chrono::microseconds elapsed);

  std::ostream* const trace_;  // not owned; may be null
  const std::chrono::steady_clock::time_point start_;

  mutable std::mutex lock_;  // guards the figures and the trace stream
  std::map<std::string, int> link_peers_;
  std::map<std::string, Counts> messages_;
  std::map<std::string, MethodFigures> methods_;
  Counts applications_;
  int application_timeouts_ = 0;
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_TRAFFIC_MONITOR_H_
