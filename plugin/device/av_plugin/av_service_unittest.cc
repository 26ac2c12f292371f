#include "plugin/device/av_plugin/av_service.h"

#include <memory>
#include <string>
#include <vector>

#include "base/json/json_writer.h"
#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_log.h"

namespace plugin {
namespace {

typedef int (AvService::*ServiceMethod)(const base::DictionaryValue&, base::DictionaryValue*);
typedef base::Value* (*MakeValue)();

const char kInvalid[] = "[AV] >>> Input parameter is invalid!";

class AvServiceTest : public testing::Test {
 protected:
  void SetUp() override {
    logging::SetMinLogLevel(logging::LOG_INFO);
    av::log_level = 0;
  }
};

// Arguments: "device_id" and, where given, one more entry. Takes ownership of the values.
std::unique_ptr<base::DictionaryValue> Args(base::Value* device_id,
                                            const char* key = nullptr,
                                            base::Value* value = nullptr) {
  auto args = std::make_unique<base::DictionaryValue>();
  if (device_id)
    args->Set("device_id", device_id);
  if (key)
    args->Set(key, value);
  return args;
}

base::Value* Str(const char* text) {
  return base::Value::CreateStringValue(text);
}
base::Value* Int(int number) {
  return base::Value::CreateIntegerValue(number);
}

// Calls |method|; |lines| gets the log lines it wrote.
int Call(ServiceMethod method,
         const base::DictionaryValue& args,
         base::DictionaryValue* result,
         std::vector<std::string>* lines) {
  logging::ScopedLogCapture capture;
  const int code = (AvService::GetInstance()->*method)(args, result);
  *lines = capture.messages();
  return code;
}

std::string Prefix(const char* method) {
  return std::string(" #av#") + method + "#  ";
}

const struct {
  const char* name;
  ServiceMethod method;
  const char* key;
  const char* answer;  // the result as JSON, next to an entry "other" that must stay
} kGetters[] = {
    {"GetSpeakerVolume", &AvService::GetSpeakerVolume, "speaker_volume",
     "{\"other\":\"kept\",\"speaker_volume\":0}"},
    {"GetMicVolume", &AvService::GetMicVolume, "mic_volume",
     "{\"mic_volume\":0,\"other\":\"kept\"}"},
    {"GetSoundMuteState", &AvService::GetSoundMuteState, "mute_state",
     "{\"mute_state\":\"not_supported\",\"other\":\"kept\"}"},
    {"GetMicPower", &AvService::GetMicPower, "mic_power",
     "{\"mic_power\":\"not_supported\",\"other\":\"kept\"}"},
};

TEST_F(AvServiceTest, GettersAnswerTheirFixedValueOrRefuseABadDeviceId) {
  for (const auto& row : kGetters) {
    SCOPED_TRACE(row.name);
    const std::string entry = Prefix(row.name) + "AvService::" + row.name;
    base::DictionaryValue result;
    result.SetInteger(row.key, 7);
    result.SetString("other", "kept");
    std::vector<std::string> lines;
    EXPECT_EQ(kAvResultSuccess, Call(row.method, *Args(Str("")), &result, &lines));
    std::string json;
    base::JSONWriter::Write(&result, &json);
    EXPECT_EQ(row.answer, json);
    EXPECT_EQ(std::vector<std::string>{entry}, lines);

    for (base::Value* device_id :
         {static_cast<base::Value*>(nullptr), Int(5), base::Value::CreateNullValue()}) {
      base::DictionaryValue refused;
      refused.SetString("other", "kept");
      EXPECT_EQ(kAvResultInvalidParameter, Call(row.method, *Args(device_id), &refused, &lines));
      EXPECT_EQ(1u, refused.size());
      EXPECT_EQ((std::vector<std::string>{entry, Prefix(row.name) + kInvalid}), lines);
    }
  }
}

const struct {
  const char* name;
  ServiceMethod method;
  const char* key;
  MakeValue good;
  const char* logged;  // the value line for |good|
  MakeValue wrong_type;
} kSetters[] = {
    {"SetSpeakerVolume", &AvService::SetSpeakerVolume, "speaker_volume", [] { return Int(-5); },
     "speaker_volume = -5", [] { return Str("5"); }},
    {"SetMicVolume", &AvService::SetMicVolume, "mic_volume", [] { return Int(-5); },
     "mic_volume = -5", [] { return Str("5"); }},
    {"SetSoundMuteState", &AvService::SetSoundMuteState, "mute_state", [] { return Str("a b"); },
     "mute_state = a b", []() -> base::Value* { return base::Value::CreateBooleanValue(true); }},
    {"SetMicPower", &AvService::SetMicPower, "mic_power", [] { return Str("a b"); },
     "mic_power = a b", [] { return Int(-5); }},
};

TEST_F(AvServiceTest, SettersLogTheirArgumentsOrRefuseMissingOrMistypedOnes) {
  for (const auto& row : kSetters) {
    SCOPED_TRACE(row.name);
    const std::string prefix = Prefix(row.name);
    const std::string entry = prefix + "AvService::" + row.name;
    base::DictionaryValue result;
    std::vector<std::string> lines;
    EXPECT_EQ(kAvResultSuccess,
              Call(row.method, *Args(Str(""), row.key, row.good()), &result, &lines));
    EXPECT_TRUE(result.empty());
    EXPECT_EQ((std::vector<std::string>{entry, prefix + "device_id = ", prefix + row.logged}),
              lines);

    std::unique_ptr<base::DictionaryValue> refused[] = {
        Args(nullptr, row.key, row.good()),  // value valid, device_id missing
        Args(Int(1), row.key, row.good()),   // device_id mistyped
        Args(Str("tv")),                     // value missing
        Args(Str("tv"), row.key, row.wrong_type()),
    };
    for (const auto& args : refused) {
      EXPECT_EQ(kAvResultInvalidParameter, Call(row.method, *args, &result, &lines));
      EXPECT_TRUE(result.empty());
      EXPECT_EQ((std::vector<std::string>{entry, prefix + kInvalid}), lines);
    }
  }
}

TEST_F(AvServiceTest, ModuleLevelSilencesInfoButNotErrors) {
  av::log_level = logging::LOG_ERROR;
  logging::ScopedLogCapture capture;
  base::DictionaryValue result;
  AvService::GetInstance()->SetMicVolume(*Args(Str("tv"), "mic_volume", Int(3)), &result);
  AvService::GetInstance()->SetMicVolume(*Args(Str("tv")), &result);
  EXPECT_EQ(std::vector<std::string>{Prefix("SetMicVolume") + kInvalid}, capture.messages());
}

}  // namespace
}  // namespace plugin
