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
#include "tvapp/simulator/receiver_simulator.h"
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

// The service's answer, as "code result-json", to SetPowerState or SetSoundMode when |call|
// is "power_state=..." or "sound_mode=...", to GetPowerState when it is empty.
std::string Call(const std::string& call) {
  base::DictionaryValue args;
  args.SetString("device_id", "tv");
  const std::string::size_type equals = call.find('=');
  if (equals != std::string::npos)
    args.SetString(call.substr(0, equals), call.substr(equals + 1));
  plugin::AvService* service = plugin::AvService::GetInstance();
  base::DictionaryValue result;
  const int code = call.empty()                    ? service->GetPowerState(args, &result)
                   : call.find("power_state") == 0 ? service->SetPowerState(args, &result)
                                                   : service->SetSoundMode(args, &result);
  std::string json;
  base::JSONWriter::Write(&result, &json);
  return std::to_string(code) + " " + json;
}

// The simulator's line on an exchange's outcome: the reply, the fault, the state after it;
// |fault| "late" stands for a reply sent after the requester gave up.
std::string Printed(const std::string& reply,
                    const std::string& fault,
                    const char* power,
                    int sound_mode) {
  return std::string(fault == "late" ? "{\"late\":true," : "{") + "\"reply\":" + reply +
         ",\"fault\":\"" + (fault == "late" ? "none" : fault) + "\",\"state\":{\"power\":\"" +
         power + "\",\"sound_mode\":" + std::to_string(sound_mode) + "}}";
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
  const char kOk[] = R"({"return":true})";
  const struct {
    std::vector<std::string> options;
    int time_limit_ms;
    const char* call;  // see Call()
    const char* reply;
    const char* request;  // the line the simulator prints on the request
    std::string outcome;  // and the one on its outcome
    int stop_signal;
  } rows[] = {
      {{"--power", "on"},
       3000,
       "power_state=off",
       "0 {}",
       R"({"name":"set_cec_receiver_on_off","args":{"onoff":false}})",
       Printed(kOk, "none", "off", 0),
       SIGTERM},
      {{},
       3000,
       "sound_mode=ClearVoice",
       "0 {}",
       R"({"name":"set_smart_home_sound_mode","args":{"sound mode":3}})",
       Printed(kOk, "none", "off", 3),
       SIGINT},
      {{"--delay-ms", "50", "--power", "on"},
       3000,
       "",
       R"(0 {"power_state":"on"})",
       nullptr,
       Printed(R"({"return":true,"power status":1})", "none", "on", 0),
       SIGTERM},
      {{"--power", "on", "--power-status", "0"},
       3000,
       "",
       R"(0 {"power_state":"off"})",
       nullptr,
       Printed(R"({"return":true,"power status":0})", "none", "on", 0),
       SIGINT},
      {{"--power-status", "5"},
       3000,
       "",
       R"(0 {"power_state":"on"})",
       nullptr,
       Printed(R"({"return":true,"power status":5})", "none", "off", 0),
       SIGINT},
      {{"--fail-return", "--power", "on"},
       3000,
       "",
       "100 {}",
       nullptr,
       Printed(R"({"return":false,"power status":1})", "fail-return", "on", 0),
       SIGINT},
      {{"--empty-reply"},
       3000,
       "",
       "100 {}",
       nullptr,
       Printed("{}", "empty-reply", "off", 0),
       SIGINT},
      {{"--no-reply"}, 200, "", "100 {}", nullptr, Printed("null", "no-reply", "off", 0), SIGINT},
      {{"--delay-ms", "800"},
       200,
       "",
       "100 {}",
       nullptr,
       Printed("null", "late", "off", 0),
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
    EXPECT_EQ(row.reply, Call(row.call));
    EXPECT_EQ(row.request ? row.request
                          : R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})",
              NextLine(&sim));
    EXPECT_EQ(row.outcome, NextLine(&sim));
    ASSERT_TRUE(sim.Signal(row.stop_signal));
    EXPECT_EQ(0, sim.Wait(kTimeout));
    EXPECT_EQ("", sim.ReadRest(kTimeout));
    EXPECT_FALSE(Exists(socket_path_));
  }
  // With the simulator gone, the receiver cannot be reached.
  EXPECT_EQ("100 {}", Call("power_state=on"));
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
