// The stub as the device layer drives it, with the service methods called by name, and the
// component that opens the stubs. The methods' exchanges with the receiver are in
// av_service_cec_unittest.cc; here no CEC application answers.

#include "plugin/device/av_plugin/stub/av_stub.h"

#include <unistd.h>

#include <variant>

#include "plugin/device/av_plugin/av_service.h"
#include "plugin/device/av_plugin/stub/av_component.h"
#include "plugin/device/av_plugin/test/av_test.h"
#include "runtime/runtime.h"

namespace plugin {
namespace {

typedef AvTest AvStubTest;

struct Absent {};
typedef std::variant<Absent, const char*, int> Arg;
const Arg kNo = Absent();

void Set(base::DictionaryValue* args, const char* key, const Arg& arg) {
  if (auto* text = std::get_if<const char*>(&arg))
    args->SetString(key, *text);
  else if (auto* number = std::get_if<int>(&arg))
    args->SetInteger(key, *number);
}

std::string Text(const Arg& arg) {
  auto* text = std::get_if<const char*>(&arg);
  return text ? *text : std::to_string(std::get<int>(arg));
}

TEST_F(AvStubTest, ServiceMethodsByName) {
  // Each method writes its entry line first. A refused argument (107) adds the invalid
  // parameter line; otherwise a Set method logs device_id and its value, and a word
  // outside its set (105) adds that it is not found.
  const struct {
    const char* method;
    Arg device_id;
    const char* key;  // the value argument, if any
    Arg value;
    int code;  // the results are empty
  } rows[] = {
      // The other methods' answers and refusals are in the end-to-end test.
      {"SetMicVolume", "", "mic_volume", 7, 0},
      // A device_id missing or of another type, checked before the value: once for
      // each way the methods read it.
      {"GetMicVolume", 5, nullptr, kNo, 107},
      {"GetDeviceResources", 0, nullptr, kNo, 107},
      {"GetPowerState", kNo, nullptr, kNo, 107},
      {"SetSpeakerVolume", kNo, "speaker_volume", 1, 107},
      {"SetMicPower", kNo, "mic_power", "on", 107},
      {"SetSoundMode", 1, "sound_mode", "Movie", 107},
      // A value missing or of another type.
      {"SetPowerState", "tv", nullptr, kNo, 107},
      {"SetSoundMode", "tv", "sound_mode", 2, 107},
      // Words outside the accepted sets: matched exactly, blanks included.
      {"SetPowerState", "tv", "power_state", "on ", 105},
      {"SetSoundMode", "tv", "sound_mode", "", 105},
      // With no CEC application to answer, the methods that need one fail.
      {"SetPowerState", "tv", "power_state", "on", 100},
      {"GetPowerState", "tv", nullptr, kNo, 100},
      {"SetSoundMode", "tv", "sound_mode", "Movie", 100},
      // A name the service does not have, in any case: no line at all.
      {"setmicvolume", "tv", nullptr, kNo, 404},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.method << " " << row.code);
    base::DictionaryValue args;
    Set(&args, "device_id", row.device_id);
    if (row.key)
      Set(&args, row.key, row.value);
    capture_.Clear();
    std::string results;
    EXPECT_EQ(row.code, Invoke(row.method, args, &results));
    EXPECT_EQ("{}", results);
    std::vector<Line> lines;
    if (row.code != kAvResultUnknownMethod)
      lines.push_back(Info(std::string("AvService::") + row.method));
    if (row.code == kAvResultInvalidParameter) {
      lines.push_back(Error("[AV] >>> Input parameter is invalid!"));
    } else if (row.key) {
      lines.push_back(Info("device_id = " + Text(row.device_id)));
      lines.push_back(Info(row.key + (" = " + Text(row.value))));
    }
    if (row.code == kAvResultValueNotFound)
      lines.push_back(Error(std::string("[AV] >>> '") + row.key + "' is not found!"));
    if (row.code == kAvResultCecFailure)
      lines.push_back(Error("[AV] >>> m_SendMessageToHdmiCec() is false!"));
    EXPECT_EQ(lines, LinesOf(row.method));
    EXPECT_TRUE(row.code != kAvResultUnknownMethod || capture_.lines().empty());
  }
}

// What the stub does not handle it leaves to the base, sending nothing of its own.
TEST_F(AvStubTest, OtherMessagesAreLeftToTheBase) {
  IPC::Message unknown(kAvMsgRoutingId, AvMsg_DeleteDeviceRequest::ID + 1,
                       IPC::Message::PRIORITY_NORMAL);
  unknown.set_sync();
  EXPECT_FALSE(stub_.SyncMessageHandler(unknown));
  EXPECT_FALSE(stub_.ASyncMessageHandler(
      IPC::Message(kAvMsgRoutingId, AvMsg_DeleteDeviceRequest::ID, IPC::Message::PRIORITY_NORMAL)));
  EXPECT_TRUE(stub_.sent.empty());
}

TEST_F(AvStubTest, EachOpenLinkOfTheComponentAddsOneStubInOrder) {
  AvComponent component;
  const std::string path = "/tmp/tarn-av-stub-" + std::to_string(getpid());
  EXPECT_TRUE(component.OpenLink(path + "-a", IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_FALSE(component.OpenLink("/nonexistent/link", IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_TRUE(component.OpenLink(path + "-b", IPC::Channel::MODE_NAMED_SERVER));
  ASSERT_EQ(2u, AvStub::stubs_.size());
  EXPECT_EQ(path + "-a", AvStub::stubs_[0]->channel_name());
  EXPECT_EQ(path + "-b", AvStub::stubs_[1]->channel_name());
  EXPECT_TRUE(AvStub::DestroyDefault());
}

// A component that leaves everything but Destroy to the base.
class BareComponent : public runtime::BaseComponent {
 public:
  bool Destroy() override { return true; }
};

TEST_F(AvStubTest, ComponentBaseDefaultsAndItsDestructorLine) {
  auto* component = new BareComponent;
  void* out = &capture_;
  EXPECT_FALSE(component->QueryInterface("plugin_manager_itf", &out));
  EXPECT_EQ(&capture_, out);
  EXPECT_TRUE(component->Start());
  EXPECT_STREQ("", component->GetComponentId());
  EXPECT_FALSE(component->OpenLink("/tmp/unused", IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_TRUE(component->Init(runtime::Runtime::GetInstance()));
  EXPECT_FALSE(component->Init(nullptr));
  capture_.Clear();
  delete component;
  ASSERT_EQ(1u, capture_.lines().size());
  EXPECT_EQ(logging::LOG_ERROR, capture_.lines()[0].severity);
  EXPECT_EQ(0u, capture_.lines()[0].message.find(": COMPONENT_DESTROY is called"));
}

}  // namespace
}  // namespace plugin
