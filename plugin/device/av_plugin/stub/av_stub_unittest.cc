// The stub as the device layer drives it: each message decoded, handed to its handler and
// answered, and the service methods called by name. The methods' exchanges with the
// receiver are in av_service_cec_unittest.cc; here they are refused before any exchange.

#include "plugin/device/av_plugin/stub/av_stub.h"

#include <variant>
#include <vector>

#include "plugin/device/av_plugin/av_manager_impl.h"
#include "plugin/device/av_plugin/av_service.h"
#include "plugin/device/av_plugin/test/av_test.h"

namespace plugin {
namespace {

typedef AvTest AvStubTest;

struct Absent {};
struct Null {};
typedef std::variant<Absent, Null, const char*, int, bool> Arg;

void Set(base::DictionaryValue* args, const char* key, const Arg& arg) {
  if (std::holds_alternative<Null>(arg))
    args->Set(key, base::Value::CreateNullValue());
  else if (auto* text = std::get_if<const char*>(&arg))
    args->SetString(key, *text);
  else if (auto* number = std::get_if<int>(&arg))
    args->SetInteger(key, *number);
  else if (auto* flag = std::get_if<bool>(&arg))
    args->SetBoolean(key, *flag);
}

const Line kInvalid = Error("[AV] >>> Input parameter is invalid!");
const Line kDeviceTv = Info("device_id = tv");

TEST_F(AvStubTest, ServiceMethodsByName) {
  const struct {
    const char* method;
    Arg device_id;
    const char* key;  // the value argument, if any
    Arg value;
    int code;
    const char* results;
    std::vector<Line> lines;  // after the method's entry line
  } rows[] = {
      {"GetSpeakerVolume", "tv", nullptr, Absent(), 0, R"({"speaker_volume":0})", {}},
      {"GetMicVolume", "", nullptr, Absent(), 0, R"({"mic_volume":0})", {}},
      {"GetSoundMuteState", "tv", nullptr, Absent(), 0, R"({"mute_state":"not_supported"})", {}},
      {"GetMicPower", "tv", nullptr, Absent(), 0, R"({"mic_power":"not_supported"})", {}},
      {"GetSoundMode", "tv", nullptr, Absent(), 0, R"({"sound_mode":"not_supported"})", {}},
      {"GetDeviceResources",
       "tv",
       nullptr,
       Absent(),
       0,
       R"({"resources":["Information","Audio","Operation"]})",
       {}},
      {"SetSpeakerVolume",
       "tv",
       "speaker_volume",
       -5,
       0,
       "{}",
       {kDeviceTv, Info("speaker_volume = -5")}},
      {"SetMicVolume",
       "",
       "mic_volume",
       7,
       0,
       "{}",
       {Info("device_id = "), Info("mic_volume = 7")}},
      {"SetSoundMuteState",
       "tv",
       "mute_state",
       "a b",
       0,
       "{}",
       {kDeviceTv, Info("mute_state = a b")}},
      {"SetMicPower", "tv", "mic_power", "", 0, "{}", {kDeviceTv, Info("mic_power = ")}},
      // A device_id missing, of another type or null, checked before the value.
      {"GetSpeakerVolume", Absent(), nullptr, Absent(), 107, "{}", {kInvalid}},
      {"GetMicVolume", 5, nullptr, Absent(), 107, "{}", {kInvalid}},
      {"GetSoundMuteState", Null(), nullptr, Absent(), 107, "{}", {kInvalid}},
      {"GetMicPower", Absent(), nullptr, Absent(), 107, "{}", {kInvalid}},
      {"GetSoundMode", 5, nullptr, Absent(), 107, "{}", {kInvalid}},
      {"GetDeviceResources", Null(), nullptr, Absent(), 107, "{}", {kInvalid}},
      {"GetPowerState", Absent(), nullptr, Absent(), 107, "{}", {kInvalid}},
      {"SetSpeakerVolume", Absent(), "speaker_volume", 1, 107, "{}", {kInvalid}},
      {"SetMicVolume", 1, "mic_volume", 1, 107, "{}", {kInvalid}},
      {"SetSoundMuteState", Null(), "mute_state", "on", 107, "{}", {kInvalid}},
      {"SetPowerState", Absent(), "power_state", "on", 107, "{}", {kInvalid}},
      {"SetSoundMode", 1, "sound_mode", "Movie", 107, "{}", {kInvalid}},
      // A value missing or of another type.
      {"SetSpeakerVolume", "tv", "speaker_volume", "5", 107, "{}", {kInvalid}},
      {"SetMicVolume", "tv", nullptr, Absent(), 107, "{}", {kInvalid}},
      {"SetMicVolume", "tv", "mic_volume", false, 107, "{}", {kInvalid}},
      {"SetSoundMuteState", "tv", "mute_state", true, 107, "{}", {kInvalid}},
      {"SetMicPower", "tv", "mic_power", -5, 107, "{}", {kInvalid}},
      {"SetMicPower", "tv", nullptr, Absent(), 107, "{}", {kInvalid}},
      {"SetPowerState", "tv", nullptr, Absent(), 107, "{}", {kInvalid}},
      {"SetSoundMode", "tv", "sound_mode", Null(), 107, "{}", {kInvalid}},
      // Words outside the accepted sets: matched exactly, case and blanks included.
      {"SetPowerState",
       "tv",
       "power_state",
       "On",
       105,
       "{}",
       {kDeviceTv, Info("power_state = On"), Error("[AV] >>> 'power_state' is not found!")}},
      {"SetPowerState",
       "tv",
       "power_state",
       "on ",
       105,
       "{}",
       {kDeviceTv, Info("power_state = on "), Error("[AV] >>> 'power_state' is not found!")}},
      {"SetSoundMode",
       "tv",
       "sound_mode",
       "standard",
       105,
       "{}",
       {kDeviceTv, Info("sound_mode = standard"), Error("[AV] >>> 'sound_mode' is not found!")}},
      {"SetSoundMode",
       "tv",
       "sound_mode",
       "Clear Voice",
       105,
       "{}",
       {kDeviceTv, Info("sound_mode = Clear Voice"), Error("[AV] >>> 'sound_mode' is not found!")}},
      {"SetSoundMode",
       "tv",
       "sound_mode",
       "",
       105,
       "{}",
       {kDeviceTv, Info("sound_mode = "), Error("[AV] >>> 'sound_mode' is not found!")}},
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
    EXPECT_EQ(row.results, results);
    std::vector<Line> lines = {Info(std::string("AvService::") + row.method)};
    lines.insert(lines.end(), row.lines.begin(), row.lines.end());
    EXPECT_EQ(lines, LinesOf(row.method));
  }

  // A name the service does not have, in any case.
  for (const char* method : {"GetVolume", "setmicvolume", ""}) {
    capture_.Clear();
    std::string results;
    EXPECT_EQ(kAvResultUnknownMethod, Invoke(method, base::DictionaryValue(), &results));
    EXPECT_EQ("{}", results);
    EXPECT_TRUE(capture_.lines().empty());
  }
}

TEST_F(AvStubTest, EachDeviceMessageReachesItsHandler) {
  AvManagerImpl::GetInstance()->OnDiscovery("tv-1");
  device::_DeviceInfo info;
  bool ok = false;
  AvMsg_GetDeviceProperty property("tv-1", &info, &ok);
  Exchange(&property);
  EXPECT_TRUE(ok);
  EXPECT_EQ("tv-1", info.device_id);
  AvMsg_GetDeviceProperty unknown("tv-2", &info, &ok);
  Exchange(&unknown);
  EXPECT_FALSE(ok);

  // The manager's requests, each answered true.
  std::unique_ptr<IPC::SyncMessage> requests[] = {
      std::make_unique<AvMsg_RegisterDeviceRequest>("a", "b", "c", &ok),
      std::make_unique<AvMsg_UnregisterDeviceRequest>("a", "b", &ok),
      std::make_unique<AvMsg_ManualRescanDevices>(&ok),
      std::make_unique<AvMsg_DeleteDeviceRequest>(&ok),
  };
  for (const auto& request : requests) {
    SCOPED_TRACE(request->type());
    ok = false;
    Exchange(request.get());
    EXPECT_TRUE(ok);
  }
  AvManagerImpl::GetInstance()->Destroy();
  AvManagerImpl::GetInstance()->RegisterMethod();
}

TEST_F(AvStubTest, OtherMessagesAreLeftToTheBase) {
  IPC::Message unknown(kAvMsgRoutingId, AvMsg_DeleteDeviceRequest::ID + 1,
                       IPC::Message::PRIORITY_NORMAL);
  unknown.set_sync();
  unknown.WriteInt(77);  // the message id
  IPC::Message async(kAvMsgRoutingId, AvMsg_DeleteDeviceRequest::ID, IPC::Message::PRIORITY_NORMAL);
  EXPECT_FALSE(stub_.SyncMessageHandler(unknown));
  EXPECT_FALSE(stub_.ASyncMessageHandler(async));
  stub_.OnMessageReceived(async);
  EXPECT_TRUE(stub_.sent.empty());
  // What answers the unknown request is the base's error reply, and only that.
  stub_.OnMessageReceived(unknown);
  ASSERT_EQ(1u, stub_.sent.size());
  EXPECT_TRUE(stub_.sent[0]->is_reply_error());
  EXPECT_EQ(77, IPC::SyncMessage::GetMessageId(*stub_.sent[0]));
}

}  // namespace
}  // namespace plugin
