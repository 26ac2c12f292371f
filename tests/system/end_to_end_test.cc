// The whole chain as a user runs it: tarn-host loading the plugin, tarn-cec-sim emulating
// the receiver behind the TV application framework's socket, and the device layer's side
// driven through avctl and through the IPC client library.

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/test/child_process.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/ipc_sync_message.h"
#include "tests/system/host_rig.h"

namespace system_test {
namespace {

using std::chrono::milliseconds;

class EndToEndTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    rig_ = new HostRig("main");
    ASSERT_TRUE(rig_->Start({"--power", "off"}, 3000));
  }
  static void TearDownTestSuite() {
    delete rig_;
    rig_ = nullptr;
  }

  void Connect(IPC::SyncClient* client) {
    ASSERT_EQ(IPC::SyncClient::RESULT_OK, client->Connect(rig_->link(), kTimeout))
        << client->error();
  }

  static HostRig* rig_;
};

HostRig* EndToEndTest::rig_ = nullptr;

TEST_F(EndToEndTest, EveryServiceMethodThroughTheWholeChain) {
  struct Row {
    const char* method;
    const char* key;  // the value argument, or null
    const char* value;
    const char* reply;     // "code results"
    const char* received;  // what the receiver was asked, or null for nothing
  };
  const Row rows[] = {
      {"SetPowerState", "power_state", "on", "0 {}",
       R"({"name":"set_cec_receiver_on_off","args":{"onoff":true}})"},
      {"GetPowerState", nullptr, nullptr, R"(0 {"power_state":"on"})",
       R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})"},
      {"SetPowerState", "power_state", "off", "0 {}",
       R"({"name":"set_cec_receiver_on_off","args":{"onoff":false}})"},
      {"GetPowerState", nullptr, nullptr, R"(0 {"power_state":"off"})",
       R"({"name":"get_cec_receiver_power_status","args":{"powerstatus":0}})"},
      {"SetPowerState", "power_state", "On", "105 {}", nullptr},
      {"SetSoundMode", "sound_mode", "Movie", "0 {}",
       R"({"name":"set_smart_home_sound_mode","args":{"sound mode":2}})"},
      {"SetSoundMode", "sound_mode", "Clear Voice", "105 {}", nullptr},
      {"GetSoundMode", nullptr, nullptr, R"(0 {"sound_mode":"not_supported"})", nullptr},
      {"GetSpeakerVolume", nullptr, nullptr, R"(0 {"speaker_volume":0})", nullptr},
      {"SetSpeakerVolume", "speaker_volume", "loud", "107 {}", nullptr},
      {"GetMicVolume", nullptr, nullptr, R"(0 {"mic_volume":0})", nullptr},
      {"GetSoundMuteState", nullptr, nullptr, R"(0 {"mute_state":"not_supported"})", nullptr},
      {"SetSoundMuteState", "mute_state", "muted", "0 {}", nullptr},
      {"GetMicPower", nullptr, nullptr, R"(0 {"mic_power":"not_supported"})", nullptr},
      {"SetMicPower", "mic_power", "off", "0 {}", nullptr},
      {"GetDeviceResources", nullptr, nullptr,
       R"(0 {"resources":["Information","Audio","Operation"]})", nullptr},
      {"GetSpeakerVolume ", nullptr, nullptr, "404 {}", nullptr},
  };
  IPC::SyncClient client;
  Connect(&client);
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.method) + (row.value ? std::string(" ") + row.value : ""));
    base::DictionaryValue args;
    args.SetString("device_id", "receiver-1");
    if (row.key)
      args.SetString(row.key, row.value);
    EXPECT_EQ(row.reply, Invoke(&client, row.method, args));
    if (row.received) {
      EXPECT_EQ(row.received, rig_->NextSimLine());
    }
  }
  // Nothing else reached the receiver: the refused requests sent nothing.
  EXPECT_EQ("<none>", rig_->NextSimLine(milliseconds(300)));

  base::DictionaryValue no_device;
  no_device.SetString("power_state", "on");
  EXPECT_EQ("107 {}", Invoke(&client, "SetPowerState", no_device));
}

TEST_F(EndToEndTest, AvctlDiscoversReadsAndDisconnectsWhileEventsAreWatched) {
  base::test::ChildProcess events;
  ASSERT_TRUE(
      events.Start(TARN_AVCTL_PATH, {"--control", rig_->control(), "events", "--count", "2"}));
  int exit_code = -1;
  EXPECT_EQ("{\"ready\":true}\n", rig_->Avctl({"wait", "--subscribers", "1"}, &exit_code));
  EXPECT_EQ("{\"ok\":true}\n", rig_->Avctl({"discover", "tv \"1\""}, &exit_code));
  EXPECT_EQ(0, exit_code);
  const std::string property = rig_->Avctl({"property", "tv \"1\""}, &exit_code);
  EXPECT_EQ(0, exit_code);
  EXPECT_EQ(0u, property.find("{\"found\":true,\"device\":{\"device_id\":\"tv \\\"1\\\"\""))
      << property;
  EXPECT_NE(std::string::npos, property.find("\"number_21\":30")) << property;
  EXPECT_EQ("{\"ok\":true}\n", rig_->Avctl({"disconnect", "tv \"1\""}, &exit_code));

  std::string discovered, disconnected;
  ASSERT_TRUE(events.ReadLine(kTimeout, &discovered));
  ASSERT_TRUE(events.ReadLine(kTimeout, &disconnected));
  EXPECT_EQ(R"({"id":35,"data":["tv \"1\"","av_plugin"]})", discovered);
  EXPECT_EQ(0u, disconnected.find(R"({"id":37,"data":["tv \"1\"","av_plugin",")")) << disconnected;
  EXPECT_EQ(0, events.Wait(kTimeout));

  EXPECT_EQ("{\"code\":0,\"result\":{\"speaker_volume\":0}}\n",
            rig_->Avctl({"invoke", "GetSpeakerVolume", "device_id=x"}, &exit_code));
  EXPECT_EQ(0, exit_code);
  EXPECT_EQ("{\"ok\":true}\n", rig_->Avctl({"delete"}, &exit_code));
}

TEST_F(EndToEndTest, MalformedAndUnknownRequestsAreAnsweredAndTheHostKeepsServing) {
  IPC::SyncClient client;
  Connect(&client);
  for (uint32_t type : {0xD47F0024u, 0xD47F0025u, 0x12345678u}) {
    // Requests without parameters: undecodable for the catalogue's type, unknown otherwise.
    ASSERT_EQ(IPC::SyncClient::RESULT_OK,
              client.SendMessage(
                  new IPC::SyncMessage(0x7FFFFFFF, type, IPC::Message::PRIORITY_NORMAL, nullptr),
                  kTimeout));
    std::unique_ptr<IPC::Message> reply;
    ASSERT_EQ(IPC::SyncClient::RESULT_OK, client.ReceiveMessage(kTimeout, &reply));
    EXPECT_TRUE(reply->is_reply_error()) << type;
  }
  base::DictionaryValue args;
  args.SetString("device_id", "x");
  EXPECT_EQ(R"(0 {"mic_volume":0})", Invoke(&client, "GetMicVolume", args));

  // A frame that breaks the framing rules costs that client its connection; the next
  // client is served.
  const unsigned char oversize[20] = {0xFF, 0xFF, 0xFF, 0x7F};
  client.SendRaw(oversize, sizeof(oversize), kTimeout);
  std::unique_ptr<IPC::Message> nothing;
  EXPECT_NE(IPC::SyncClient::RESULT_OK, client.ReceiveMessage(milliseconds(2000), &nothing));
  client.Close();
  IPC::SyncClient second;
  Connect(&second);
  EXPECT_EQ(R"(0 {"mic_volume":0})", Invoke(&second, "GetMicVolume", args));
}

TEST(EndToEndShutdownTest, AReceiverThatDoesNotAnswerThenACleanStop) {
  HostRig rig("mute");
  ASSERT_TRUE(rig.Start({"--no-reply"}, 500));
  IPC::SyncClient client;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, client.Connect(rig.link(), kTimeout));
  base::DictionaryValue args;
  args.SetString("device_id", "x");
  args.SetString("power_state", "on");
  EXPECT_EQ("100 {}", Invoke(&client, "SetPowerState", args));
  EXPECT_EQ(R"({"name":"set_cec_receiver_on_off","args":{"onoff":true}})", rig.NextSimLine());
  EXPECT_EQ(R"(0 {"speaker_volume":0})", Invoke(&client, "GetSpeakerVolume", args));
  client.Close();

  ASSERT_TRUE(rig.host().Signal(SIGTERM));
  EXPECT_EQ(0, rig.host().Wait(kTimeout));
  EXPECT_FALSE(Exists(rig.link()));
  EXPECT_FALSE(Exists(rig.control()));
}

}  // namespace
}  // namespace system_test
