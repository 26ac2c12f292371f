// avctl run as a real process against the AV plugin, which this test loads the way the
// runtime does and serves on a link of its own; and its event feed against a stand-in for
// tarn-host's control channel.

#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "base/posix/unix_domain_socket.h"
#include "base/test/child_process.h"
#include "gtest/gtest.h"
#include "ipc/ipc_channel.h"
#include "nlohmann/json.hpp"
#include "runtime/component.h"
#include "runtime/component_library.h"
#include "runtime/reflection.h"
#include "runtime/runtime.h"
#include "tools/avctl/fake_control_host.h"

namespace avctl {
namespace {

const std::chrono::seconds kTimeout(20);

std::string TempPath(const std::string& name) {
  return "/tmp/avctl-test-" + std::to_string(getpid()) + "-" + name;
}

struct Outcome {
  int exit_code;
  std::string out;
  std::string err;
};

// Runs avctl with |arguments| to its end.
Outcome RunAvctl(const std::vector<std::string>& arguments) {
  const std::string err_path = TempPath("stderr");
  base::test::ChildProcess avctl;
  EXPECT_TRUE(avctl.Start(TARN_AVCTL_PATH, arguments, err_path));
  Outcome outcome;
  outcome.out = avctl.ReadRest(kTimeout);
  outcome.exit_code = avctl.Wait(kTimeout);
  std::ostringstream err;
  err << std::ifstream(err_path).rdbuf();
  outcome.err = err.str();
  unlink(err_path.c_str());
  return outcome;
}

class AvctlProcessTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::string error;
    library_ = runtime::ComponentLibrary::Open(TARN_AV_PLUGIN_PATH, &error).release();
    ASSERT_NE(nullptr, library_) << error;
    ASSERT_TRUE(library_->component()->Init(runtime::Runtime::GetInstance()));
    ASSERT_TRUE(library_->component()->OpenLink(LinkPath(), IPC::Channel::MODE_NAMED_SERVER));
  }

  static void TearDownTestSuite() {
    if (library_)
      library_->component()->Destroy();
  }

  static std::string LinkPath() { return TempPath("link"); }

  // avctl with "--socket" set to the plugin's link.
  static Outcome RunOnLink(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"--socket", LinkPath()});
    return RunAvctl(arguments);
  }

  static runtime::ComponentLibrary* library_;  // kept for the whole process
};

runtime::ComponentLibrary* AvctlProcessTest::library_ = nullptr;

TEST_F(AvctlProcessTest, EachRequestPrintsItsReplyAsOneJsonLine) {
  const struct {
    std::vector<std::string> arguments;
    const char* line;
  } kCases[] = {
      {{"invoke", "GetSpeakerVolume", "device_id=tv-1"},
       R"({"code":0,"result":{"speaker_volume":0}})"},
      {{"invoke", "GetDeviceResources", "--args", R"({"device_id":""})"},
       R"({"code":0,"result":{"resources":["Information","Audio","Operation"]}})"},
      {{"invoke", "GetSoundMode", "device_id=tv-1", "sound_mode=Movie"},
       R"({"code":0,"result":{"sound_mode":"not_supported"}})"},
      // A volume is an integer: typed it passes, as text or as a double it is refused.
      {{"invoke", "SetSpeakerVolume", "device_id=tv-1", "speaker_volume:=-20"},
       R"({"code":0,"result":{}})"},
      {{"invoke", "SetSpeakerVolume", "device_id=tv-1", "speaker_volume=20"},
       R"({"code":107,"result":{}})"},
      {{"invoke", "SetMicVolume", "--args", R"({"device_id":"a","mic_volume":1.0})"},
       R"({"code":107,"result":{}})"},
      {{"invoke", "GetMicPower", "device_id:=7"}, R"({"code":107,"result":{}})"},
      {{"invoke", "getSpeakerVolume", "device_id=tv-1"}, R"({"code":404,"result":{}})"},
      {{"register", "a", "b", "c"}, R"({"ok":true})"},
      {{"unregister", "a", "b"}, R"({"ok":true})"},
      {{"rescan"}, R"({"ok":true})"},
      {{"delete", "--timeout", "5000"}, R"({"ok":true})"},
      {{"--pretty", "invoke", "SetMicPower", "device_id=a"},
       "{\n  \"code\": 107,\n  \"result\": {}\n}"},
      {{"--fail-on-code", "invoke", "GetMicVolume", "device_id=a"},
       R"({"code":0,"result":{"mic_volume":0}})"},
  };
  for (const auto& test : kCases) {
    const Outcome outcome = RunOnLink(test.arguments);
    EXPECT_EQ(0, outcome.exit_code) << outcome.err;
    EXPECT_EQ(std::string(test.line) + "\n", outcome.out);
    EXPECT_EQ("", outcome.err);
  }
  // With --fail-on-code a result code other than 0 is a failure, the reply still printed.
  const Outcome failed = RunOnLink({"--fail-on-code", "invoke", "SetMicPower", "device_id=a"});
  EXPECT_EQ(1, failed.exit_code);
  EXPECT_EQ("{\"code\":107,\"result\":{}}\n", failed.out);
  EXPECT_EQ("avctl: SetMicPower answered result code 107\n", failed.err);
}

TEST_F(AvctlProcessTest, PropertyPrintsTheRecordByFieldName) {
  const char* const kFields[] = {"device_id", "plugin_name",   "text_03", "text_04",
                                 "text_05",   "text_06",       "text_07", "discovery_datetime",
                                 "text_09",   "text_10",       "text_11", "text_12",
                                 "text_13",   "text_14",       "text_15", "text_16",
                                 "text_17",   "text_18",       "text_19", "text_20",
                                 "number_21", "rdf_properties"};
  Outcome outcome = RunOnLink({"property", "tv-avctl"});
  ASSERT_EQ(0, outcome.exit_code) << outcome.err;
  nlohmann::ordered_json reply = nlohmann::ordered_json::parse(outcome.out);
  EXPECT_EQ(false, reply["found"]);
  EXPECT_EQ(0, reply["device"]["number_21"]);

  std::string id = "tv-avctl";
  void* argv[] = {&id};
  void* manager = nullptr;
  bool discovered = false;
  runtime::Reflection* reflection = runtime::Runtime::GetInstance()->GetReflection();
  ASSERT_TRUE(
      reflection->Invoke("av_plugin", "AvManagerImpl", "GetInstance", &manager, nullptr, nullptr));
  ASSERT_TRUE(
      reflection->Invoke("av_plugin", "AvManagerImpl", "OnDiscovery", &discovered, manager, argv));
  outcome = RunOnLink({"property", "tv-avctl"});
  ASSERT_EQ(0, outcome.exit_code) << outcome.err;
  reply = nlohmann::ordered_json::parse(outcome.out);
  EXPECT_EQ(true, reply["found"]);
  const nlohmann::ordered_json& device = reply["device"];
  ASSERT_EQ(22u, device.size());
  size_t index = 0;
  for (const auto& field : device.items())
    EXPECT_EQ(kFields[index++], field.key());
  EXPECT_EQ("tv-avctl", device["device_id"]);
  EXPECT_EQ("av_plugin", device["plugin_name"]);
  EXPECT_EQ("AV", device["text_05"]);
  EXPECT_EQ(30, device["number_21"]);
  EXPECT_EQ(19u, device["discovery_datetime"].get<std::string>().size());
  EXPECT_NE(std::string::npos, device["rdf_properties"].get<std::string>().find("tv-avctl"));
}

TEST_F(AvctlProcessTest, FailuresExitWithTheirCodes) {
  Outcome outcome = RunOnLink({"invoke", "GetPowerState", "device_id:={"});
  EXPECT_EQ(2, outcome.exit_code);
  EXPECT_EQ("", outcome.out);
  EXPECT_NE(std::string::npos, outcome.err.find("is not JSON")) << outcome.err;

  // A server that accepts but never greets: avctl's wait for the hello runs out.
  const std::string mute_path = TempPath("mute");
  base::SocketFileId mute_file;
  std::string error;
  const int mute = base::CreateListeningSocket(mute_path, &mute_file, &error);
  ASSERT_GE(mute, 0) << error;
  outcome = RunAvctl({"--socket", mute_path, "--timeout", "300", "rescan"});
  base::CloseListeningSocket(mute, mute_path, mute_file);
  EXPECT_EQ(1, outcome.exit_code);
  EXPECT_EQ("avctl: cannot connect to " + mute_path +
                ": no answer within 300 ms (the server is busy or does not answer)\n",
            outcome.err);
  EXPECT_EQ("", outcome.out);
}

TEST_F(AvctlProcessTest, EventsAreFlushedAsTheyComeAndAStopSignalEndsThemQuietly) {
  for (int signal_number : {SIGINT, SIGTERM}) {
    test::FakeControlHost::Answers answers;
    answers.events_after_reply = {{35, {"tv-1", "av_plugin"}}};
    const std::string control_path = TempPath("control");
    test::FakeControlHost host(control_path, answers);
    ASSERT_TRUE(host.serving());
    const std::string err_path = TempPath("events-stderr");
    base::test::ChildProcess avctl;
    ASSERT_TRUE(avctl.Start(TARN_AVCTL_PATH,
                            {"--control", control_path, "--timeout", "2000", "events"}, err_path));
    std::string line;
    ASSERT_TRUE(avctl.ReadLine(kTimeout, &line));
    EXPECT_EQ(R"({"id":35,"data":["tv-1","av_plugin"]})", line);
    // Past the time-out the feed still waits, and prints what comes.
    std::this_thread::sleep_for(std::chrono::milliseconds(2200));
    ASSERT_TRUE(host.SendEvent({37, {"tv-1", "av_plugin"}}));
    ASSERT_TRUE(avctl.ReadLine(kTimeout, &line));
    EXPECT_EQ(R"({"id":37,"data":["tv-1","av_plugin"]})", line);
    ASSERT_TRUE(avctl.Signal(signal_number));
    EXPECT_EQ(0, avctl.Wait(kTimeout)) << signal_number;
    EXPECT_EQ("", avctl.ReadRest(kTimeout));
    std::ostringstream err;
    err << std::ifstream(err_path).rdbuf();
    EXPECT_EQ("avctl: subscribed to every event\n", err.str());  // and nothing on the stop
    unlink(err_path.c_str());
  }
}

}  // namespace
}  // namespace avctl
