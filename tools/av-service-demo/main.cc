// Invokes each AV service method with sample arguments and prints what it answers:
// the method, its arguments, its result code and its result dictionary, one line each.

#include <cstdio>
#include <memory>
#include <string>

#include "base/json/json_writer.h"
#include "base/logging.h"
#include "base/values.h"
#include "plugin/device/av_plugin/av_service.h"

namespace {

typedef int (plugin::AvService::*ServiceMethod)(const base::DictionaryValue&,
                                                base::DictionaryValue*);

struct Call {
  const char* name;
  ServiceMethod method;
  const char* value_key;  // the value argument, or null
  base::Value* (*value)();
};

base::Value* Volume() {
  return base::Value::CreateIntegerValue(25);
}
base::Value* On() {
  return base::Value::CreateStringValue("on");
}
base::Value* Wrong() {
  return base::Value::CreateStringValue("loud");
}

const Call kCalls[] = {
    {"GetSpeakerVolume", &plugin::AvService::GetSpeakerVolume, nullptr, nullptr},
    {"SetSpeakerVolume", &plugin::AvService::SetSpeakerVolume, "speaker_volume", &Volume},
    {"SetSpeakerVolume", &plugin::AvService::SetSpeakerVolume, "speaker_volume", &Wrong},
    {"GetMicVolume", &plugin::AvService::GetMicVolume, nullptr, nullptr},
    {"SetMicVolume", &plugin::AvService::SetMicVolume, "mic_volume", &Volume},
    {"GetSoundMuteState", &plugin::AvService::GetSoundMuteState, nullptr, nullptr},
    {"SetSoundMuteState", &plugin::AvService::SetSoundMuteState, "mute_state", &On},
    {"GetMicPower", &plugin::AvService::GetMicPower, nullptr, nullptr},
    {"SetMicPower", &plugin::AvService::SetMicPower, "mic_power", &On},
};

std::string ToJson(const base::Value& value) {
  std::string json;
  base::JSONWriter::Write(&value, &json);
  return json;
}

}  // namespace

int main() {
  logging::SetMinLogLevel(logging::LOG_ERROR);  // only the service's error lines, on stderr
  plugin::AvService* service = plugin::AvService::GetInstance();
  for (const Call& call : kCalls) {
    base::DictionaryValue args;
    args.SetString("device_id", "receiver-1");
    if (call.value_key)
      args.Set(call.value_key, call.value());
    base::DictionaryValue result;
    const int code = (service->*call.method)(args, &result);
    std::printf("%-18s args=%s -> code %d, result %s\n", call.name, ToJson(args).c_str(), code,
                ToJson(result).c_str());
    std::fflush(stdout);
  }
  return 0;
}
