// The device layer's view of the whole chain: tarn-host loading the plugin, tarn-cec-sim
// emulating the receiver behind the TV application framework's socket, and avctl sending
// the plugin's six messages and watching its events.

#include <signal.h>

#include <regex>
#include <string>
#include <vector>

#include "base/posix/unix_domain_socket.h"
#include "gtest/gtest.h"
#include "tests/system/host_rig.h"

namespace system_test {
namespace {

class EndToEndTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    rig_ = new HostRig("e2e");
    HostRig::Setup setup;
    setup.sim_options = {"--power", "off"};
    ASSERT_TRUE(rig_->Start(setup));
  }
  static void TearDownTestSuite() {
    delete rig_;
    rig_ = nullptr;
  }

  static HostRig* rig_;
};

HostRig* EndToEndTest::rig_ = nullptr;

// avctl's line for a ServiceInvoke answered with |code| and |result|.
std::string Reply(int code, const std::string& result = "{}") {
  return "{\"code\":" + std::to_string(code) + ",\"result\":" + result + "}\n";
}

// |text| as a JSON string's contents.
std::string Escape(const std::string& text) {
  return std::regex_replace(text, std::regex(R"((["\\]))"), "\\$1");
}

// A device record as avctl prints it, every field in the wire order.
std::string Record(bool found, const std::string& id) {
  const std::string texts = R"("text_09":"","text_10":"","text_11":"","text_12":"","text_13":"",)"
                            R"("text_14":"","text_15":"","text_16":"","text_17":"","text_18":"",)"
                            R"("text_19":"","text_20":"",)";
  if (!found) {
    return R"({"found":false,"device":{"device_id":"","plugin_name":"","text_03":"",)"
           R"("text_04":"","text_05":"","text_06":"","text_07":"","discovery_datetime":"",)" +
           texts + R"("number_21":0,"rdf_properties":""}})" + "\n";
  }
  const std::string rdf =
      R"({"Properties":[{"property":"http://tarn.example/TARN/TARNPlatform/ontology/util/)"
      R"(Device.owl#originalId","type":"http://www.w3.org/2001/XMLSchema#string","value":")" +
      Escape(id) + "\"}]}";
  return R"({"found":true,"device":{"device_id":")" + Escape(id) +
         R"(","plugin_name":"av_plugin","text_03":"AV","text_04":"AV","text_05":"AV",)"
         R"("text_06":"","text_07":"","discovery_datetime":"<time>",)" +
         texts + R"("number_21":30,"rdf_properties":")" + Escape(rdf) + "\"}}\n";
}

TEST_F(EndToEndTest, TheSixMessagesAndThirteenMethodsThroughAvctl) {
  const char kOn[] = R"({"name":"set_cec_receiver_on_off","args":{"onoff":true}})";
  const char kOff[] = R"({"name":"set_cec_receiver_on_off","args":{"onoff":false}})";
  const char kStatus[] = R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})";
  const char kMovie[] = R"({"name":"set_smart_home_sound_mode","args":{"sound mode":2}})";
  const std::string kOk = "{\"ok\":true}\n";
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
    std::string out;
    const char* err;       // the start of stderr
    const char* received;  // what the receiver was asked, or null for nothing
  } rows[] = {
      {{"invoke", "SetPowerState", "device_id=r", "power_state=on"}, 0, Reply(0), "", kOn},
      {{"invoke", "GetPowerState", "device_id=r"},
       0,
       Reply(0, R"({"power_state":"on"})"),
       "",
       kStatus},
      {{"invoke", "SetPowerState", "device_id=r", "power_state=On"}, 0, Reply(105), "", nullptr},
      {{"invoke", "SetPowerState", "power_state=off"}, 0, Reply(107), "", nullptr},
      {{"invoke", "SetPowerState", "device_id=r", "power_state=off"}, 0, Reply(0), "", kOff},
      {{"invoke", "SetSoundMode", "device_id=r", "sound_mode=Clear Voice"},
       0,
       Reply(105),
       "",
       nullptr},
      {{"invoke", "SetSoundMode", "device_id=r", "sound_mode=Movie"}, 0, Reply(0), "", kMovie},
      {{"invoke", "GetSoundMode", "device_id=r", "sound_mode=Movie"},
       0,
       Reply(0, R"({"sound_mode":"not_supported"})"),
       "",
       nullptr},
      {{"invoke", "GetSpeakerVolume", "--args", R"({"device_id":""})"},
       0,
       Reply(0, R"({"speaker_volume":0})"),
       "",
       nullptr},
      // A volume is an integer: typed it passes, as text or as a double it is refused.
      {{"invoke", "SetSpeakerVolume", "device_id=r", "speaker_volume:=-20"},
       0,
       Reply(0),
       "",
       nullptr},
      {{"invoke", "SetSpeakerVolume", "device_id=r", "speaker_volume=20"},
       0,
       Reply(107),
       "",
       nullptr},
      {{"invoke", "GetMicVolume", "device_id=r"}, 0, Reply(0, R"({"mic_volume":0})"), "", nullptr},
      {{"invoke", "SetMicVolume", "device_id=r", "mic_volume:=3"}, 0, Reply(0), "", nullptr},
      {{"invoke", "SetMicVolume", "--args", R"({"device_id":"r","mic_volume":1.0})"},
       0,
       Reply(107),
       "",
       nullptr},
      {{"invoke", "GetSoundMuteState", "device_id=r"},
       0,
       Reply(0, R"({"mute_state":"not_supported"})"),
       "",
       nullptr},
      {{"invoke", "SetSoundMuteState", "device_id=r", "mute_state=muted"},
       0,
       Reply(0),
       "",
       nullptr},
      {{"invoke", "GetMicPower", "device_id=r"},
       0,
       Reply(0, R"({"mic_power":"not_supported"})"),
       "",
       nullptr},
      {{"invoke", "GetMicPower", "device_id:=7"}, 0, Reply(107), "", nullptr},
      {{"invoke", "SetMicPower", "device_id=r", "mic_power=off"}, 0, Reply(0), "", nullptr},
      {{"invoke", "GetDeviceResources", "device_id=r"},
       0,
       Reply(0, R"({"resources":["Information","Audio","Operation"]})"),
       "",
       nullptr},
      {{"invoke", "getSpeakerVolume", "device_id=r"}, 0, Reply(404), "", nullptr},
      {{"invoke", "GetSpeakerVolume ", "device_id=r"}, 0, Reply(404), "", nullptr},
      {{"--pretty", "invoke", "SetMicPower", "device_id=r"},
       0,
       "{\n  \"code\": 107,\n  \"result\": {}\n}\n",
       "",
       nullptr},
      {{"--fail-on-code", "invoke", "GetMicVolume", "device_id=r"},
       0,
       Reply(0, R"({"mic_volume":0})"),
       "",
       nullptr},
      {{"--fail-on-code", "invoke", "SetMicPower", "device_id=r"},
       1,
       Reply(107),
       "avctl: SetMicPower answered result code 107\n",
       nullptr},
      {{"invoke", "GetPowerState", "device_id:={"},
       2,
       "",
       "avctl: the value of \"device_id\" is not JSON",
       nullptr},
      {{"register", "a", "b", "c"}, 0, kOk, "", nullptr},
      {{"unregister", "a", "b"}, 0, kOk, "", nullptr},
      {{"rescan"}, 0, kOk, "", nullptr},
      {{"delete", "--timeout", "5000"}, 0, kOk, "", nullptr},
      {{"property", "tv \"1\""}, 0, Record(false, ""), "", nullptr},
      {{"discover", "tv \"1\""}, 0, kOk, "", nullptr},
      {{"property", "tv \"1\""}, 0, Record(true, "tv \"1\""), "", nullptr},
      // The last row reaches the receiver: a request sent where none should have been
      // would come before it.
      {{"invoke", "GetPowerState", "device_id=r"},
       0,
       Reply(0, R"({"power_state":"off"})"),
       "",
       kStatus},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    const Outcome outcome = rig_->Avctl(row.arguments);
    EXPECT_EQ(row.exit_code, outcome.exit_code);
    EXPECT_EQ(row.out, std::regex_replace(
                           outcome.out, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)"), "<time>"));
    EXPECT_EQ(0u, outcome.err.find(row.err)) << outcome.err;
    if (!*row.err) {
      EXPECT_EQ("", outcome.err);
    }
    if (row.received) {
      EXPECT_EQ(row.received, rig_->NextSimLine());
    }
  }
}

TEST_F(EndToEndTest, EventFeedsOutwaitTheirTimeOutAndEndQuietlyOnAStopSignal) {
  const int kSignals[] = {SIGINT, SIGTERM};
  base::test::ChildProcess feeds[2];
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(feeds[i].Start(TARN_AVCTL_PATH,
                               {"--control", rig_->control(), "--timeout", "300", "events"},
                               rig_->Path("events" + std::to_string(i) + ".err")));
  }
  EXPECT_EQ("{\"ready\":true}\n", rig_->Avctl({"wait", "--subscribers", "2"}).out);
  // A server that accepts but never greets: avctl gives up on it after its 300 ms, so the
  // feeds have by then waited longer than their own time-out.
  const std::string mute_path = rig_->Path("mute.sock");
  base::SocketFileId mute_file;
  std::string error;
  const int mute = base::CreateListeningSocket(mute_path, &mute_file, &error);
  ASSERT_GE(mute, 0) << error;
  const Outcome gave_up =
      RunProgram(TARN_AVCTL_PATH, {"--socket", mute_path, "--timeout", "300", "rescan"},
                 rig_->Path("mute.err"));
  base::CloseListeningSocket(mute, mute_path, mute_file);
  EXPECT_EQ(1, gave_up.exit_code);
  EXPECT_EQ("avctl: cannot connect to " + mute_path +
                ": no answer within 300 ms (the server is busy or does not answer)\n",
            gave_up.err);

  EXPECT_EQ("{\"ok\":true}\n", rig_->Avctl({"discover", "tv-2"}).out);
  EXPECT_EQ("{\"ok\":true}\n", rig_->Avctl({"disconnect", "tv-2"}).out);
  for (int i = 0; i < 2; ++i) {
    std::string discovered, disconnected;
    ASSERT_TRUE(feeds[i].ReadLine(kTimeout, &discovered));
    ASSERT_TRUE(feeds[i].ReadLine(kTimeout, &disconnected))
        << ReadFile(rig_->Path("events" + std::to_string(i) + ".err"));
    EXPECT_EQ(R"({"id":35,"data":["tv-2","av_plugin"]})", discovered);
    EXPECT_TRUE(std::regex_match(
        disconnected,
        std::regex(
            R"(\{"id":37,"data":\["tv-2","av_plugin","\d{4}-\d\d-\d\d \d\d:\d\d:\d\d"\]\})")))
        << disconnected;
    ASSERT_TRUE(feeds[i].Signal(kSignals[i]));
    EXPECT_EQ(0, feeds[i].Wait(kTimeout)) << kSignals[i];
    EXPECT_EQ("", feeds[i].ReadRest(kTimeout));
    EXPECT_EQ("avctl: subscribed to every event\n",
              ReadFile(rig_->Path("events" + std::to_string(i) + ".err")));
  }
}

}  // namespace
}  // namespace system_test
