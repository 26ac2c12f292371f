// Round-trip times of service calls through the real plugin, beside the raw Unix socket
// ping-pong of the same run. A client process sends AvMsg_ServiceInvoke to a process that
// loaded libtarn_av_plugin.so the way the runtime does and opened a link, with the receiver
// simulator registered as the TV's CEC application in that process, as tarn-host's
// built-in receiver is:
// - "GetSpeakerVolume" is answered by the plugin alone, on the link's thread;
// - "SetPowerState" also goes through the TV application framework to the receiver;
// - eight peers on one link at once, each with a request in flight.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/logging.h"
#include "base/values.h"
#include "bench/raw_ping_pong.h"
#include "benchmark/benchmark.h"
#include "ipc/ipc_sync_client.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "runtime/component.h"
#include "runtime/component_library.h"
#include "runtime/runtime.h"
#include "tvapp/instance_directory.h"
#include "tvapp/simulator/receiver_simulator.h"

namespace {

const std::chrono::seconds kTimeout(5);

// The size of ipc_benchmark's echo messages: a 20-byte header, the message id and an int.
const size_t kPingPongMessageSize = 28;

// The plugin's process: registers the receiver, loads the plugin, opens one link and
// serves until killed.
[[noreturn]] void RunPlugin(const std::string& path) {
  logging::SetMinLogLevel(logging::LOG_FATAL);
  static cec_sim::ReceiverSimulator receiver;
  std::string error;
  if (!ORVELL0300::CInstanceDirectory::GetInstance()->AddLocalInstance(cec_sim::kCecApplicationName,
                                                                       &receiver)) {
    _exit(1);
  }
  std::unique_ptr<runtime::ComponentLibrary> library =
      runtime::ComponentLibrary::Open(TARN_AV_PLUGIN_PATH, &error);
  if (!library || !library->component()->Init(runtime::Runtime::GetInstance()) ||
      !library->component()->OpenLink(path, IPC::Channel::MODE_NAMED_SERVER)) {
    _exit(1);
  }
  for (;;)
    pause();
}

// A plugin process forked for one benchmark, with |count| clients connected to its link.
class PluginProcess {
 public:
  PluginProcess(benchmark::State& state, size_t count)
      : path_("/tmp/tarn-bench-plugin-" + std::to_string(getpid())), clients_(count) {
    child_ = fork();
    if (child_ == 0)
      RunPlugin(path_);
    const auto deadline = std::chrono::steady_clock::now() + kTimeout;
    for (IPC::SyncClient& client : clients_) {
      while (client.Connect(path_, kTimeout) != IPC::SyncClient::RESULT_OK) {
        if (std::chrono::steady_clock::now() > deadline) {
          state.SkipWithError(("cannot reach the plugin: " + client.error()).c_str());
          return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
      }
    }
  }
  ~PluginProcess() {
    for (IPC::SyncClient& client : clients_)
      client.Close();
    kill(child_, SIGTERM);
    waitpid(child_, nullptr, 0);
    unlink(path_.c_str());
  }
  IPC::SyncClient& client(size_t index) { return clients_[index]; }
  size_t size() const { return clients_.size(); }

 private:
  const std::string path_;
  std::vector<IPC::SyncClient> clients_;
  pid_t child_ = -1;
};

// Times AvMsg_ServiceInvoke(|method|, |args|) against a plugin process forked for the run.
void RunServiceCall(benchmark::State& state,
                    const std::string& method,
                    const base::DictionaryValue& args) {
  PluginProcess plugin(state, 1);
  IPC::SyncClient& client = plugin.client(0);
  for (auto _ : state) {
    if (!client.is_connected())
      break;
    base::DictionaryValue result;
    int code = -1;
    if (client.Send(new AvMsg_ServiceInvoke(method, args, &result, &code), kTimeout) !=
            IPC::SyncClient::RESULT_OK ||
        code != 0) {
      state.SkipWithError(("round trip failed: " + client.error()).c_str());
      break;
    }
  }
}

// Eight peers of one link, each with a "GetSpeakerVolume" in flight at once: requests
// answered per second across them.
void BM_PluginEightPeers(benchmark::State& state) {
  PluginProcess plugin(state, 8);
  base::DictionaryValue args;
  args.SetString("device_id", "receiver-1");
  base::DictionaryValue result;
  int code = -1;
  for (auto _ : state) {
    for (size_t i = 0; i < plugin.size(); ++i) {
      if (plugin.client(i).SendMessage(
              new AvMsg_ServiceInvoke("GetSpeakerVolume", args, &result, &code), kTimeout) !=
          IPC::SyncClient::RESULT_OK) {
        state.SkipWithError("send failed");
        return;
      }
    }
    for (size_t i = 0; i < plugin.size(); ++i) {
      std::unique_ptr<IPC::Message> reply;
      if (plugin.client(i).ReceiveMessage(kTimeout, &reply) != IPC::SyncClient::RESULT_OK ||
          !reply->is_reply()) {
        state.SkipWithError("no reply");
        return;
      }
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(plugin.size()));
}

void BM_RawUnixSocketPingPong(benchmark::State& state) {
  bench::RunRawUnixSocketPingPong(state, kPingPongMessageSize);
}

void BM_PluginServiceInvokeRoundTrip(benchmark::State& state) {
  base::DictionaryValue args;
  args.SetString("device_id", "receiver-1");
  RunServiceCall(state, "GetSpeakerVolume", args);
}

void BM_PluginSetPowerStateRoundTrip(benchmark::State& state) {
  base::DictionaryValue args;
  args.SetString("device_id", "receiver-1");
  args.SetString("power_state", "on");
  RunServiceCall(state, "SetPowerState", args);
}

BENCHMARK(BM_RawUnixSocketPingPong)->UseRealTime()->Repetitions(10)->ReportAggregatesOnly(true);
BENCHMARK(BM_PluginServiceInvokeRoundTrip)
    ->UseRealTime()
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_PluginSetPowerStateRoundTrip)
    ->UseRealTime()
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_PluginEightPeers)->UseRealTime()->Repetitions(10)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
