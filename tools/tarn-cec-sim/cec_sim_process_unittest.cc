// tarn-cec-sim run as a real process: the plugin's service reaches it through the TV
// application framework's socket transport; its serving line, its JSON lines, its faults
// and its exit codes are checked.

#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <string>
#include <vector>

#include "base/json/json_writer.h"
#include "base/test/child_process.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_service.h"
#include "tvapp/application_base.h"
#include "tvapp/instance_directory.h"
#include "tvapp/query_handle.h"
#include "tvapp/test/scoped_socket_dir.h"

namespace {

const std::chrono::seconds kTimeout(10);
const char kApplication[] = "nimbara.native.cec";

// The next line |sim| prints, without its time, or "<none>".
std::string NextLine(base::test::ChildProcess* sim) {
  std::string line;
  if (!sim->ReadLine(kTimeout, &line))
    return "<none>";
  const std::string::size_type time = line.rfind(",\"time\":\"");
  return time == std::string::npos ? line : line.substr(0, time) + "}";
}

typedef int (plugin::AvService::*Method)(const base::DictionaryValue&, base::DictionaryValue*);

// The service's answer to |method| with |key|: |value|, as "code result-json".
std::string Call(Method method, const char* key, const char* value) {
  base::DictionaryValue args;
  args.SetString("device_id", "tv");
  if (key)
    args.SetString(key, value);
  base::DictionaryValue result;
  const int code = (plugin::AvService::GetInstance()->*method)(args, &result);
  std::string json;
  base::JSONWriter::Write(&result, &json);
  return std::to_string(code) + " " + json;
}

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

class CecSimProcessTest : public testing::Test {
 protected:
  void SetUp() override {
    socket_path_ = dir_.Path("cec.sock");
    ASSERT_TRUE(ORVELL0300::CInstanceDirectory::GetInstance()->AddRemoteInstance(kApplication,
                                                                                 socket_path_));
  }
  void TearDown() override {
    ORVELL0300::CInstanceDirectory::GetInstance()->RemoveInstance(kApplication);
    CQueryHandle::GetApplication()->SetReplyTimeLimit(ORVELL0300::kDefaultReplyTimeLimit);
  }

  ORVELL0300::ScopedSocketDir dir_;
  std::string socket_path_;
};

TEST_F(CecSimProcessTest, OptionsShapeTheRepliesAndEachExchangeIsPrinted) {
  using plugin::AvService;
  const char kGetStatus[] = R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})";
  const struct {
    std::vector<std::string> options;
    int time_limit_ms;
    Method method;
    const char* key;  // the value argument, or null
    const char* value;
    const char* reply;    // the service's, "code result"
    const char* request;  // the line the simulator prints on the request
    const char* outcome;  // and the one on its outcome: the reply, the fault, the state after
    int stop_signal;
  } rows[] = {
      {{"--power", "on"},
       3000,
       &AvService::SetPowerState,
       "power_state",
       "off",
       "0 {}",
       R"({"name":"set_cec_receiver_on_off","args":{"onoff":false}})",
       R"({"reply":{"return":true},"fault":"none","state":{"power":"off","sound_mode":0}})",
       SIGTERM},
      {{},
       3000,
       &AvService::SetSoundMode,
       "sound_mode",
       "ClearVoice",
       "0 {}",
       R"({"name":"set_smart_home_sound_mode","args":{"sound mode":3}})",
       R"({"reply":{"return":true},"fault":"none","state":{"power":"off","sound_mode":3}})",
       SIGINT},
      {{"--delay-ms", "50", "--power", "on"},
       3000,
       &AvService::GetPowerState,
       nullptr,
       nullptr,
       R"(0 {"power_state":"on"})",
       kGetStatus,
       R"({"reply":{"return":true,"power status":1},"fault":"none","state":{"power":"on","sound_mode":0}})",
       SIGTERM},
      {{"--power", "on", "--power-status", "0"},
       3000,
       &AvService::GetPowerState,
       nullptr,
       nullptr,
       R"(0 {"power_state":"off"})",
       kGetStatus,
       R"({"reply":{"return":true,"power status":0},"fault":"none","state":{"power":"on","sound_mode":0}})",
       SIGINT},
      {{"--power-status", "5"},
       3000,
       &AvService::GetPowerState,
       nullptr,
       nullptr,
       R"(0 {"power_state":"on"})",
       kGetStatus,
       R"({"reply":{"return":true,"power status":5},"fault":"none","state":{"power":"off","sound_mode":0}})",
       SIGINT},
      {{"--fail-return", "--power", "on"},
       3000,
       &AvService::GetPowerState,
       nullptr,
       nullptr,
       "100 {}",
       kGetStatus,
       R"({"reply":{"return":false,"power status":1},"fault":"fail-return","state":{"power":"on","sound_mode":0}})",
       SIGINT},
      {{"--empty-reply"},
       3000,
       &AvService::GetPowerState,
       nullptr,
       nullptr,
       "100 {}",
       kGetStatus,
       R"({"reply":{},"fault":"empty-reply","state":{"power":"off","sound_mode":0}})",
       SIGINT},
      {{"--no-reply"},
       200,
       &AvService::GetPowerState,
       nullptr,
       nullptr,
       "100 {}",
       kGetStatus,
       R"({"reply":null,"fault":"no-reply","state":{"power":"off","sound_mode":0}})",
       SIGINT},
      {{"--delay-ms", "800"},
       200,
       &AvService::GetPowerState,
       nullptr,
       nullptr,
       "100 {}",
       kGetStatus,
       R"({"late":true,"reply":null,"fault":"none","state":{"power":"off","sound_mode":0}})",
       SIGINT},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.options));
    std::vector<std::string> arguments = {"--socket", socket_path_};
    arguments.insert(arguments.end(), row.options.begin(), row.options.end());
    base::test::ChildProcess sim;
    ASSERT_TRUE(sim.Start(TARN_CEC_SIM_PATH, arguments));
    ASSERT_EQ("tarn-cec-sim: serving nimbara.native.cec on " + socket_path_, NextLine(&sim));
    CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(row.time_limit_ms));
    EXPECT_EQ(row.reply, Call(row.method, row.key, row.value));
    EXPECT_EQ(row.request, NextLine(&sim));
    EXPECT_EQ(row.outcome, NextLine(&sim));
    ASSERT_TRUE(sim.Signal(row.stop_signal));
    EXPECT_EQ(0, sim.Wait(kTimeout));
    EXPECT_EQ("", sim.ReadRest(kTimeout));
    EXPECT_FALSE(Exists(socket_path_));
  }
  // With the simulator gone, the receiver cannot be reached.
  EXPECT_EQ("100 {}", Call(&AvService::SetPowerState, "power_state", "on"));
}

TEST_F(CecSimProcessTest, CommandLinesEndWithTheirExitCodes) {
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
    const char* out;  // a part of stdout
  } rows[] = {
      {{}, 2, ""},
      {{"--socket", ""}, 2, ""},
      {{"--socket", "/tmp/" + std::string(120, 'x')}, 2, ""},
      {{"--socket", "/tmp/s", "--power", "On"}, 2, ""},
      {{"--socket", "/tmp/s", "--delay-ms", "-1"}, 2, ""},
      {{"--socket", "/tmp/s", "--fail-return", "--no-reply"}, 2, ""},
      {{"--socket", "/tmp/s", "--unknown"}, 2, ""},
      {{"--socket", dir_.Path("missing/cec.sock")}, 1, ""},
      {{"--help"}, 0, "Example: tarn-cec-sim "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    base::test::ChildProcess sim;
    ASSERT_TRUE(sim.Start(TARN_CEC_SIM_PATH, row.arguments));
    const std::string out = sim.ReadRest(kTimeout);
    EXPECT_EQ(row.exit_code, sim.Wait(kTimeout));
    EXPECT_NE(std::string::npos, out.find(row.out)) << out;
    if (row.exit_code != 0) {
      EXPECT_EQ("", out);  // never serving
    }
  }
}

}  // namespace
