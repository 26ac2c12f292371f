// tarn-cec-sim as a real process behind tarn-host: its options shape the replies the plugin's
// service gets, it prints each exchange, a stop signal ends it and its socket, and its command
// lines end with their exit codes. One host serves throughout; each case starts a simulator.

#include <signal.h>

#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tests/system/host_rig.h"

namespace system_test {
namespace {

// The plugin's answer to SetPowerState or SetSoundMode when |call| is "power_state=..." or
// "sound_mode=...", to GetPowerState when it is empty.
std::string Call(IPC::SyncClient* client, const std::string& call) {
  const std::string::size_type equals = call.find('=');
  if (equals == std::string::npos)
    return Invoke(client, "GetPowerState", *Args("x"));
  const std::string key = call.substr(0, equals);
  return Invoke(client, key == "power_state" ? "SetPowerState" : "SetSoundMode",
                *Args("x", key, call.substr(equals + 1)));
}

// The simulator's line on an exchange's outcome: the reply, the fault, the state after it;
// |fault| "late" stands for a reply sent after the requester gave up.
std::string Printed(const std::string& reply,
                    const std::string& fault,
                    const char* power,
                    int mode) {
  const bool late = fault == "late";
  return std::string(late ? "{\"late\":true," : "{") + "\"reply\":" + reply + ",\"fault\":\"" +
         (late ? "none" : fault) + "\",\"state\":{\"power\":\"" + power +
         "\",\"sound_mode\":" + std::to_string(mode) + "}}";
}

TEST(CecSimProcessTest, OptionsShapeTheRepliesAndEachExchangeIsPrinted) {
  const char kGet[] = R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})";
  const struct {
    std::vector<std::string> options;
    const char* call;  // see Call()
    const char* reply;
    const char* request;  // the line the simulator prints on the request
    std::string outcome;  // and the one on its outcome
  } rows[] = {
      {{},
       "sound_mode=ClearVoice",
       "0 {}",
       R"({"name":"set_smart_home_sound_mode","args":{"sound mode":3}})",
       Printed(R"({"return":true})", "none", "off", 3)},
      {{"--delay-ms", "50", "--power", "on"},
       "",
       R"(0 {"power_state":"on"})",
       kGet,
       Printed(R"({"return":true,"power status":1})", "none", "on", 0)},
      {{"--power-status", "5"},
       "",
       R"(0 {"power_state":"on"})",
       kGet,
       Printed(R"({"return":true,"power status":5})", "none", "off", 0)},
      {{"--fail-return", "--power", "on"},
       "",
       "100 {}",
       kGet,
       Printed(R"({"return":false,"power status":1})", "fail-return", "on", 0)},
      {{"--no-reply"}, "", "100 {}", kGet, Printed("null", "no-reply", "off", 0)},
      // The device layer was told it failed, so the receiver must not switch on afterwards.
      {{"--delay-ms", "1500"},
       "power_state=on",
       "100 {}",
       R"({"name":"set_cec_receiver_on_off","args":{"onoff":true}})",
       Printed("null", "late", "off", 0)},
  };
  HostRig rig("sim");
  HostRig::Setup setup;
  setup.sim_options = rows[0].options;
  setup.reply_limit_ms = 1000;
  ASSERT_TRUE(rig.Start(setup));
  IPC::SyncClient client;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, client.Connect(rig.link(), kTimeout));
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.options));
    if (&row != rows) {
      ASSERT_TRUE(rig.StartSimulator(row.options));
    }
    EXPECT_EQ(row.reply, Call(&client, row.call));
    EXPECT_EQ(row.request, rig.NextSimLine());
    EXPECT_EQ(row.outcome, rig.NextSimOutcome());
    ASSERT_TRUE(rig.sim().Signal((&row - rows) % 2 ? SIGINT : SIGTERM));
    EXPECT_EQ(0, rig.sim().Wait(kTimeout));
    EXPECT_EQ("", rig.sim().ReadRest(kTimeout));
    EXPECT_FALSE(Exists(rig.cec()));
  }
  // With the simulator gone, the receiver cannot be reached.
  EXPECT_EQ("100 {}", Call(&client, "power_state=on"));
}

TEST(CecSimProcessTest, CommandLinesEndWithTheirExitCodes) {
  HostRig rig("args");  // only for its folder
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
  } rows[] = {
      {{}, 2},
      {{"--socket", "/tmp/" + std::string(120, 'x')}, 2},
      {{"--socket", "/tmp/s", "--power", "On"}, 2},
      {{"--socket", "/tmp/s", "--fail-return", "--no-reply"}, 2},
      {{"--socket", rig.Path("missing/cec.sock")}, 1},
      {{"--help"}, 0},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    const Outcome outcome = RunProgram(TARN_CEC_SIM_PATH, row.arguments, rig.Path("sim.err"));
    EXPECT_EQ(row.exit_code, outcome.exit_code);
    if (row.exit_code == 0) {
      EXPECT_NE(std::string::npos, outcome.out.find("Example: tarn-cec-sim ")) << outcome.out;
    } else {
      EXPECT_EQ("", outcome.out);  // never serving
    }
  }
}

}  // namespace
}  // namespace system_test
