// Round-trip times of service calls through the real plugin, beside the raw Unix socket
// ping-pong of the same run. A client process sends AvMsg_ServiceInvoke to a process that
// loaded libtarn_av_plugin.so the way the runtime does and opened a link, with the receiver
// simulator registered as the TV's CEC application in that process, as tarn-host's
// built-in receiver is:
// - "GetSpeakerVolume" is answered by the plugin alone, on the link's thread;
// - "SetPowerState" also goes through the TV application framework to the receiver.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "base/logging.h"
#include "base/values.h"
#include "bench/raw_ping_pong.h"
#include "benchmark/benchmark.h"
#include "ipc/ipc_sync_client.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "runtime/component.h"
#include "runtime/component_library.h"
#include "runtime/runtime.h"
#include "tools/tarn-cec-sim/receiver_simulator.h"
#include "tvapp/instance_directory.h"

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

// Times AvMsg_ServiceInvoke(|method|, |args|) against a plugin process forked for the run.
void RunServiceCall(benchmark::State& state,
                    const std::string& method,
                    const base::DictionaryValue& args) {
  const std::string path = "/tmp/tarn-bench-plugin-" + std::to_string(getpid());
  const pid_t child = fork();
  if (child == 0)
    RunPlugin(path);

  IPC::SyncClient client;
  const auto deadline = std::chrono::steady_clock::now() + kTimeout;
  while (client.Connect(path, kTimeout) != IPC::SyncClient::RESULT_OK) {
    if (std::chrono::steady_clock::now() > deadline) {
      state.SkipWithError(("cannot reach the plugin: " + client.error()).c_str());
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
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
  client.Close();
  kill(child, SIGTERM);
  waitpid(child, nullptr, 0);
  unlink(path.c_str());
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

}  // namespace

BENCHMARK_MAIN();
