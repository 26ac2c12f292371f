// Round-trip time of a service call through the real plugin: a client process sends
// AvMsg_ServiceInvoke("GetSpeakerVolume") to a process that loaded libtarn_av_plugin.so the
// way the runtime does and opened a link; the request is read, decoded, dispatched to the
// service and answered on the link's thread. Compare with ipc_benchmark's raw ping-pong.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "base/logging.h"
#include "base/values.h"
#include "benchmark/benchmark.h"
#include "ipc/ipc_sync_client.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "runtime/component.h"
#include "runtime/component_library.h"
#include "runtime/runtime.h"

namespace {

const std::chrono::seconds kTimeout(5);

// The plugin's process: loads the plugin, opens one link and serves until killed.
[[noreturn]] void RunPlugin(const std::string& path) {
  logging::SetMinLogLevel(logging::LOG_FATAL);
  std::string error;
  std::unique_ptr<runtime::ComponentLibrary> library =
      runtime::ComponentLibrary::Open(TARN_AV_PLUGIN_PATH, &error);
  if (!library || !library->component()->Init(runtime::Runtime::GetInstance()) ||
      !library->component()->OpenLink(path, IPC::Channel::MODE_NAMED_SERVER)) {
    _exit(1);
  }
  for (;;)
    pause();
}

void BM_PluginServiceInvokeRoundTrip(benchmark::State& state) {
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
  base::DictionaryValue args;
  args.SetString("device_id", "receiver-1");
  for (auto _ : state) {
    if (!client.is_connected())
      break;
    base::DictionaryValue result;
    int code = -1;
    if (client.Send(new AvMsg_ServiceInvoke("GetSpeakerVolume", args, &result, &code), kTimeout) !=
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
BENCHMARK(BM_PluginServiceInvokeRoundTrip)
    ->UseRealTime()
    ->Repetitions(10)
    ->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
