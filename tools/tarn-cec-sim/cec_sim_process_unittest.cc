// tarn-cec-sim run as a real process: the plugin's service reaches it through the TV
// application framework's socket transport, and its JSON lines are checked.

#include <signal.h>
#include <sys/stat.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "base/test/child_process.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_service.h"
#include "tvapp/application_base.h"
#include "tvapp/instance_directory.h"
#include "tvapp/query_handle.h"
#include "tvapp/simulator/receiver_simulator.h"
#include "tvapp/test/scoped_socket_dir.h"

namespace cec_sim {
namespace {

// One run of tarn-cec-sim with its stdout on a pipe.
class SimProcess {
 public:
  explicit SimProcess(const std::vector<std::string>& arguments) {
    EXPECT_TRUE(process_.Start(TARN_CEC_SIM_PATH, arguments));
  }

  // Waits for the line that says it serves at |socket_path|.
  bool WaitUntilServing(const std::string& socket_path) {
    return ReadLine() == "tarn-cec-sim: serving nimbara.native.cec on " + socket_path;
  }

  // The next line on stdout without its newline and its time, or "<none>" when none comes
  // in time.
  std::string ReadLine() {
    std::string line;
    if (!process_.ReadLine(std::chrono::seconds(5), &line))
      return "<none>";
    const std::string::size_type time = line.rfind(",\"time\":\"");
    return time == std::string::npos ? line : line.substr(0, time) + "}";
  }

  // Sends |signal_number| (when nonzero) and returns the exit code, or -1 when the
  // process did not end within 10 s.
  int Finish(int signal_number) {
    if (signal_number)
      process_.Signal(signal_number);
    return process_.Wait(std::chrono::seconds(10));
  }

  // Everything left on stdout up to its end.
  std::string RestOfOutput() { return process_.ReadRest(std::chrono::seconds(5)); }

 private:
  base::test::ChildProcess process_;
};

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

class CecSimProcessTest : public testing::Test {
 protected:
  void SetUp() override {
    socket_path_ = dir_.Path("cec.sock");
    ASSERT_TRUE(ORVELL0300::CInstanceDirectory::GetInstance()->AddRemoteInstance(
        kCecApplicationName, socket_path_));
  }
  void TearDown() override {
    ORVELL0300::CInstanceDirectory::GetInstance()->RemoveInstance(kCecApplicationName);
    CQueryHandle::GetApplication()->SetReplyTimeLimit(ORVELL0300::kDefaultReplyTimeLimit);
  }

  std::unique_ptr<SimProcess> Start(std::vector<std::string> options) {
    options.insert(options.begin(), {"--socket", socket_path_});
    auto process = std::make_unique<SimProcess>(options);
    EXPECT_TRUE(process->WaitUntilServing(socket_path_));
    return process;
  }

  ORVELL0300::ScopedSocketDir dir_;
  std::string socket_path_;
};

typedef int (plugin::AvService::*Method)(const base::DictionaryValue&, base::DictionaryValue*);

int Call(Method method,
         const char* key = nullptr,
         const char* value = nullptr,
         base::DictionaryValue* result = nullptr) {
  base::DictionaryValue args;
  args.SetString("device_id", "tv");
  if (key)
    args.SetString(key, value);
  base::DictionaryValue ignored;
  return (plugin::AvService::GetInstance()->*method)(args, result ? result : &ignored);
}

std::string PowerState() {
  base::DictionaryValue result;
  if (Call(&plugin::AvService::GetPowerState, nullptr, nullptr, &result) != 0)
    return "<failed>";
  std::string state;
  result.GetString("power_state", &state);
  return state;
}

TEST_F(CecSimProcessTest, ServiceReachesTheReceiverBehindTheSocket) {
  auto sim = Start({"--power", "on"});
  using plugin::AvService;
  EXPECT_EQ("on", PowerState());
  EXPECT_EQ(0, Call(&AvService::SetPowerState, "power_state", "off"));
  EXPECT_EQ("off", PowerState());
  EXPECT_EQ(0, Call(&AvService::SetSoundMode, "sound_mode", "ClearVoice"));
  EXPECT_EQ(105, Call(&AvService::SetSoundMode, "sound_mode", "clearvoice"));
  // The methods that need no receiver answer with it attached all the same.
  EXPECT_EQ(0, Call(&AvService::GetDeviceResources));
  EXPECT_EQ(0, Call(&AvService::GetSoundMode));
  EXPECT_EQ(0, Call(&AvService::SetMicPower, "mic_power", "off"));

  // Each request as it arrives, then its outcome: the reply, the fault, the state after it.
  const char* expected_lines[] = {
      R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})",
      R"({"reply":{"return":true,"power status":1},"fault":"none","state":{"power":"on","sound_mode":0}})",
      R"({"name":"set_cec_receiver_on_off","args":{"onoff":false}})",
      R"({"reply":{"return":true},"fault":"none","state":{"power":"off","sound_mode":0}})",
      R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})",
      R"({"reply":{"return":true,"power status":0},"fault":"none","state":{"power":"off","sound_mode":0}})",
      R"({"name":"set_smart_home_sound_mode","args":{"sound mode":3}})",
      R"({"reply":{"return":true},"fault":"none","state":{"power":"off","sound_mode":3}})",
  };
  for (const char* line : expected_lines)
    EXPECT_EQ(line, sim->ReadLine());
  EXPECT_EQ(0, sim->Finish(SIGTERM));
  EXPECT_EQ("", sim->RestOfOutput());
  EXPECT_FALSE(Exists(socket_path_));
  EXPECT_EQ(100, Call(&AvService::SetPowerState, "power_state", "on"));
}

TEST_F(CecSimProcessTest, OptionsShapeTheReplies) {
  const struct {
    std::vector<std::string> options;
    int time_limit_ms;
    const char* expected_state;  // of GetPowerState; null when it must fail
    const char* outcome;         // the reply, the fault and the state, as printed
  } rows[] = {
      {{"--fail-return", "--power", "on"},
       3000,
       nullptr,
       R"({"reply":{"return":false,"power status":1},"fault":"fail-return","state":{"power":"on","sound_mode":0}})"},
      {{"--empty-reply"},
       3000,
       nullptr,
       R"({"reply":{},"fault":"empty-reply","state":{"power":"off","sound_mode":0}})"},
      {{"--no-reply"},
       200,
       nullptr,
       R"({"reply":null,"fault":"no-reply","state":{"power":"off","sound_mode":0}})"},
      {{"--delay-ms", "800"},
       200,
       nullptr,
       R"({"late":true,"reply":null,"fault":"none","state":{"power":"off","sound_mode":0}})"},
      {{"--delay-ms", "50", "--power", "on"},
       3000,
       "on",
       R"({"reply":{"return":true,"power status":1},"fault":"none","state":{"power":"on","sound_mode":0}})"},
      {{"--power", "on", "--power-status", "0"},
       3000,
       "off",
       R"({"reply":{"return":true,"power status":0},"fault":"none","state":{"power":"on","sound_mode":0}})"},
      {{"--power-status", "5"},
       3000,
       "on",
       R"({"reply":{"return":true,"power status":5},"fault":"none","state":{"power":"off","sound_mode":0}})"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.options[0]);
    auto sim = Start(row.options);
    CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(row.time_limit_ms));
    EXPECT_EQ(row.expected_state ? row.expected_state : "<failed>", PowerState());
    EXPECT_EQ(R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})",
              sim->ReadLine());
    EXPECT_EQ(row.outcome, sim->ReadLine());
    EXPECT_EQ(0, sim->Finish(SIGINT));
    EXPECT_FALSE(Exists(socket_path_));
  }
}

TEST_F(CecSimProcessTest, BadArgumentsExitWithTwoAndHelpWithZero) {
  const std::vector<std::string> bad[] = {
      {},
      {"--socket", ""},
      {"--socket", "/tmp/" + std::string(120, 'x')},
      {"--socket", "/tmp/s", "--power", "On"},
      {"--socket", "/tmp/s", "--delay-ms", "-1"},
      {"--socket", "/tmp/s", "--fail-return", "--no-reply"},
      {"--socket", "/tmp/s", "--unknown"},
  };
  for (const auto& arguments : bad) {
    SimProcess sim(arguments);
    EXPECT_EQ(2, sim.Finish(0));
  }
  SimProcess help({"--help"});
  EXPECT_EQ(0, help.Finish(0));
  const std::string text = help.RestOfOutput();
  for (const char* option : {"--socket", "--power", "--fail-return", "--empty-reply", "--no-reply",
                             "--delay-ms", "--power-status"}) {
    EXPECT_NE(std::string::npos, text.find(option)) << option;
  }
  EXPECT_NE(std::string::npos, text.find("Example: tarn-cec-sim ")) << text;
  SimProcess unusable({"--socket", dir_.Path("missing/cec.sock")});
  EXPECT_EQ(1, unusable.Finish(0));
}

}  // namespace
}  // namespace cec_sim
