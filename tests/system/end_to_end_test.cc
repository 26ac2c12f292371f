// The device layer's view of the whole chain: tarn-host loading the plugin, tarn-cec-sim
// emulating the receiver behind the TV application framework's socket, and avctl sending
// the plugin's six messages and watching its events.

#include <signal.h>

#include <regex>
#include <sstream>
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

// |text| as a JSON string's contents.
std::string Escape(const std::string& text) {
  return std::regex_replace(text, std::regex(R"((["\\]))"), "\\$1");
}

// The words of |command|, split at blanks.
std::vector<std::string> Words(const std::string& command) {
  std::istringstream stream(command);
  std::vector<std::string> words;
  for (std::string word; stream >> word;)
    words.push_back(word);
  return words;
}

// A device record as avctl prints it, every field in the wire order; empty for no |id|.
std::string Record(const std::string& id) {
  const bool found = !id.empty();
  const std::string av = found ? "AV" : "";
  std::ostringstream record;
  record << R"({"found":)" << (found ? "true" : "false") << R"(,"device":{"device_id":")"
         << Escape(id) << R"(","plugin_name":")" << (found ? "av_plugin" : "") << R"(","text_03":")"
         << av << R"(","text_04":")" << av << R"(","text_05":")" << av
         << R"(","text_06":"","text_07":"","discovery_datetime":")" << (found ? "<time>" : "")
         << "\"";
  for (int i = 9; i <= 20; ++i)
    record << ",\"text_" << (i < 10 ? "0" : "") << i << "\":\"\"";
  record << ",\"number_21\":" << (found ? 30 : 0) << R"(,"rdf_properties":")";
  if (found) {
    record << Escape(R"({"Properties":[{"property":"http://tarn.example/TARN/TARNPlatform/)"
                     R"(ontology/util/Device.owl#originalId","type":"http://www.w3.org/2001/)"
                     R"(XMLSchema#string","value":")" +
                     Escape(id) + "\"}]}");
  }
  record << "\"}}\n";
  return record.str();
}

TEST_F(EndToEndTest, TheSixMessagesAndThirteenMethodsThroughAvctl) {
  const char kOn[] = R"({"name":"set_cec_receiver_on_off","args":{"onoff":true}})";
  const char kOff[] = R"({"name":"set_cec_receiver_on_off","args":{"onoff":false}})";
  const char kStatus[] = R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})";
  const char kMovie[] = R"({"name":"set_smart_home_sound_mode","args":{"sound mode":2}})";
  const char kOk[] = "{\"ok\":true}\n";
  const char kDone[] = "{\"code\":0,\"result\":{}}\n";
  const char kRefused[] = "{\"code\":107,\"result\":{}}\n";
  const struct {
    const char* command;
    int exit_code;
    std::string printed;             // stdout then stderr
    const char* received = nullptr;  // what the receiver was asked, if anything
  } rows[] = {
      {"invoke SetPowerState device_id=r power_state=on", 0, kDone, kOn},
      {"invoke GetPowerState device_id=r", 0, "{\"code\":0,\"result\":{\"power_state\":\"on\"}}\n",
       kStatus},
      {"invoke SetPowerState device_id=r power_state=On", 0, "{\"code\":105,\"result\":{}}\n"},
      {"invoke SetPowerState power_state=off", 0, kRefused},
      {"invoke SetPowerState device_id=r power_state=off", 0, kDone, kOff},
      {"invoke SetSoundMode device_id=r sound_mode=Movie", 0, kDone, kMovie},
      {R"(invoke GetSpeakerVolume --args {"device_id":""})", 0,
       "{\"code\":0,\"result\":{\"speaker_volume\":0}}\n"},
      {"invoke SetSpeakerVolume device_id=r speaker_volume:=-20", 0, kDone},
      {"invoke SetSoundMuteState device_id=r mute_state=muted", 0, kDone},
      {"invoke GetDeviceResources device_id=r", 0,
       R"({"code":0,"result":{"resources":["Information","Audio","Operation"]}})"
       "\n"},
      {"invoke getSpeakerVolume device_id=r", 0, "{\"code\":404,\"result\":{}}\n"},
      {"--pretty invoke SetMicPower device_id=r", 0, "{\n  \"code\": 107,\n  \"result\": {}\n}\n"},
      {"--fail-on-code invoke SetMicPower device_id=r", 1,
       std::string(kRefused) + "avctl: SetMicPower answered result code 107\n"},
      {"register a b c", 0, kOk},
      {"unregister a b", 0, kOk},
      {"rescan", 0, kOk},
      {"delete --timeout 5000", 0, kOk},
      {"property tv\"1\"", 0, Record("")},
      {"discover tv\"1\"", 0, kOk},
      {"property tv\"1\"", 0, Record("tv\"1\"")},
      // The last row reaches the receiver: a request sent where none should have been
      // would come before it.
      {"invoke GetPowerState device_id=r", 0, "{\"code\":0,\"result\":{\"power_state\":\"off\"}}\n",
       kStatus},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.command);
    const Outcome outcome = rig_->Avctl(Words(row.command));
    EXPECT_EQ(row.exit_code, outcome.exit_code);
    const std::string printed = std::regex_replace(
        outcome.out + outcome.err, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)"), "<time>");
    EXPECT_EQ(row.printed, printed);
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
