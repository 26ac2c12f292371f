#include "plugin/device/av_plugin/av_service.h"

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_log.h"

namespace plugin {
namespace {

typedef int (AvService::*ServiceMethod)(const base::DictionaryValue&, base::DictionaryValue*);

const char kInvalid[] = "[AV] >>> Input parameter is invalid!";

class AvServiceTest : public testing::Test {
 protected:
  void SetUp() override {
    logging::SetMinLogLevel(logging::LOG_INFO);
    av::log_level = 0;
  }
};

// Arguments: "device_id" and, where given, one more entry.
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

struct GetRow {
  const char* name;
  ServiceMethod method;
  const char* key;
  base::Value* (*expected)();
};

base::Value* Zero() {
  return Int(0);
}
base::Value* NotSupported() {
  return Str("not_supported");
}

const GetRow kGetters[] = {
    {"GetSpeakerVolume", &AvService::GetSpeakerVolume, "speaker_volume", &Zero},
    {"GetMicVolume", &AvService::GetMicVolume, "mic_volume", &Zero},
    {"GetSoundMuteState", &AvService::GetSoundMuteState, "mute_state", &NotSupported},
    {"GetMicPower", &AvService::GetMicPower, "mic_power", &NotSupported},
};

TEST_F(AvServiceTest, GettersAnswerTheirFixedValueAndKeepOtherEntries) {
  for (const GetRow& row : kGetters) {
    SCOPED_TRACE(row.name);
    base::DictionaryValue result;
    result.SetInteger(row.key, 7);
    result.SetString("other", "kept");
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultSuccess, (AvService::GetInstance()->*row.method)(*Args(Str("")), &result));
    std::unique_ptr<base::Value> expected(row.expected());
    const base::Value* actual = nullptr;
    ASSERT_TRUE(result.Get(row.key, &actual));
    EXPECT_TRUE(expected->Equals(actual));
    EXPECT_EQ(2u, result.size());
    const std::vector<std::string> lines = {" #av#" + std::string(row.name) +
                                            "#  AvService::" + row.name};
    EXPECT_EQ(lines, capture.messages());
  }
}

TEST_F(AvServiceTest, GettersRefuseAMissingOrMistypedDeviceId) {
  for (const GetRow& row : kGetters) {
    for (base::Value* device_id :
         {static_cast<base::Value*>(nullptr), Int(5), base::Value::CreateNullValue()}) {
      SCOPED_TRACE(row.name);
      base::DictionaryValue result;
      result.SetString("other", "kept");
      logging::ScopedLogCapture capture;
      EXPECT_EQ(kAvResultInvalidParameter,
                (AvService::GetInstance()->*row.method)(*Args(device_id), &result));
      EXPECT_EQ(1u, result.size());
      EXPECT_TRUE(
          capture.Has(logging::LOG_ERROR, " #av#" + std::string(row.name) + "#  " + kInvalid));
    }
  }
}

struct SetRow {
  const char* name;
  ServiceMethod method;
  const char* key;
  base::Value* (*good)();
  const char* logged;  // the value line for |good|
  base::Value* (*wrong_type)();
};

base::Value* MinusFive() {
  return Int(-5);
}
base::Value* Word() {
  return Str("any word");
}
base::Value* TrueValue() {
  return base::Value::CreateBooleanValue(true);
}
base::Value* TextFive() {
  return Str("5");
}

const SetRow kSetters[] = {
    {"SetSpeakerVolume", &AvService::SetSpeakerVolume, "speaker_volume", &MinusFive,
     "speaker_volume = -5", &TextFive},
    {"SetMicVolume", &AvService::SetMicVolume, "mic_volume", &MinusFive, "mic_volume = -5",
     &TextFive},
    {"SetSoundMuteState", &AvService::SetSoundMuteState, "mute_state", &Word,
     "mute_state = any word", &TrueValue},
    {"SetMicPower", &AvService::SetMicPower, "mic_power", &Word, "mic_power = any word",
     &MinusFive},
};

TEST_F(AvServiceTest, SettersLogTheirArgumentsAndWriteNoResult) {
  for (const SetRow& row : kSetters) {
    SCOPED_TRACE(row.name);
    base::DictionaryValue result;
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultSuccess, (AvService::GetInstance()->*row.method)(
                                    *Args(Str(""), row.key, row.good()), &result));
    EXPECT_TRUE(result.empty());
    const std::string prefix = " #av#" + std::string(row.name) + "#  ";
    const std::vector<std::string> lines = {prefix + "AvService::" + row.name,
                                            prefix + "device_id = ", prefix + row.logged};
    EXPECT_EQ(lines, capture.messages());
  }
}

TEST_F(AvServiceTest, SettersRefuseMissingOrMistypedArguments) {
  for (const SetRow& row : kSetters) {
    SCOPED_TRACE(row.name);
    std::unique_ptr<base::DictionaryValue> cases[] = {
        Args(nullptr, row.key, row.good()),  // value valid, device_id missing
        Args(Int(1), row.key, row.good()),   // device_id mistyped
        Args(Str("tv")),                     // value missing
        Args(Str("tv"), row.key, row.wrong_type()),
    };
    for (const auto& args : cases) {
      base::DictionaryValue result;
      logging::ScopedLogCapture capture;
      EXPECT_EQ(kAvResultInvalidParameter, (AvService::GetInstance()->*row.method)(*args, &result));
      EXPECT_TRUE(result.empty());
      EXPECT_TRUE(
          capture.Has(logging::LOG_ERROR, " #av#" + std::string(row.name) + "#  " + kInvalid));
      EXPECT_EQ(0, capture.Count(" #av#" + std::string(row.name) + "#  device_id = tv"));
    }
  }
}

TEST_F(AvServiceTest, ModuleLevelSilencesInfoButNotErrors) {
  av::log_level = logging::LOG_ERROR;
  logging::ScopedLogCapture capture;
  base::DictionaryValue result;
  AvService::GetInstance()->SetMicVolume(*Args(Str("tv"), "mic_volume", Int(3)), &result);
  AvService::GetInstance()->SetMicVolume(*Args(Str("tv")), &result);
  const std::vector<std::string> lines = {std::string(" #av#SetMicVolume#  ") + kInvalid};
  EXPECT_EQ(lines, capture.messages());
}

TEST(AvServiceSingletonTest, ConcurrentFirstUseGivesOneInstance) {
  constexpr int kThreads = 8;
  std::vector<AvService*> seen(kThreads, nullptr);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i)
    threads.emplace_back([&seen, i] { seen[i] = AvService::GetInstance(); });
  for (auto& thread : threads)
    thread.join();
  for (AvService* service : seen)
    EXPECT_EQ(seen[0], service);
  EXPECT_NE(nullptr, seen[0]);
}

}  // namespace
}  // namespace plugin
