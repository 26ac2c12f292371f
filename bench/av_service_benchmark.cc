// The cost of the plugin's log gate and of a service call with logs off and on.

#include <string>

#include "base/logging.h"
#include "base/values.h"
#include "benchmark/benchmark.h"
#include "plugin/device/av_plugin/av_log.h"
#include "plugin/device/av_plugin/av_service.h"

namespace {

// Lines that are written go to a handler that drops them, so the figures measure the
// formatting and not the terminal.
bool DropLine(int, const char*, int, size_t, const std::string&) {
  return true;
}

void SetLogs(bool on) {
  logging::SetLogMessageHandler(&DropLine);
  logging::SetMinLogLevel(logging::LOG_INFO);
  av::log_level = on ? logging::LOG_INFO : logging::LOG_FATAL;
}

void BM_GatedOffModuleLine(benchmark::State& state) {
  SetLogs(false);
  const std::string device_id = "receiver-1";
  for (auto _ : state) {
    AV_LOG(logging::LOG_INFO) << "device_id = " << device_id;
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_GatedOffModuleLine);

void BM_GetSpeakerVolume(benchmark::State& state) {
  SetLogs(state.range(0) != 0);
  base::DictionaryValue args;
  args.SetString("device_id", "receiver-1");
  plugin::AvService* service = plugin::AvService::GetInstance();
  for (auto _ : state) {
    base::DictionaryValue result;
    benchmark::DoNotOptimize(service->GetSpeakerVolume(args, &result));
  }
  state.SetLabel(state.range(0) ? "logs on" : "logs off");
}
BENCHMARK(BM_GetSpeakerVolume)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
