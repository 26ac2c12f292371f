#include "plugin/device/av_plugin/av_service.h"

#include <string>

#include "base/values.h"
#include "plugin/device/av_plugin/av_log.h"

namespace plugin {

namespace {

const char kDeviceIdKey[] = "device_id";
const char kSpeakerVolumeKey[] = "speaker_volume";
const char kMicVolumeKey[] = "mic_volume";
const char kMuteStateKey[] = "mute_state";
const char kMicPowerKey[] = "mic_power";
const char kNotSupported[] = "not_supported";

// The start that every service method shares: its entry line, then "device_id". The
// helpers below write their lines on behalf of |method|, the service method's name.
bool EnterMethod(const char* method, const base::DictionaryValue& args, std::string* device_id) {
  AV_LOG_AS(logging::LOG_INFO, method) << "AvService::" << method;
  return args.GetString(kDeviceIdKey, device_id);
}

int InvalidParameter(const char* method) {
  AV_LOG_AS(logging::LOG_ERROR, method) << "[AV] >>> Input parameter is invalid!";
  return kAvResultInvalidParameter;
}

template <typename T>
int LogSetArguments(const char* method,
                    const std::string& device_id,
                    const char* key,
                    const T& value) {
  AV_LOG_AS(logging::LOG_INFO, method) << "device_id = " << device_id;
  AV_LOG_AS(logging::LOG_INFO, method) << key << " = " << value;
  return kAvResultSuccess;
}

// A Set method whose value argument |key| is an integer.
int SetIntegerArgument(const char* method, const char* key, const base::DictionaryValue& args) {
  std::string device_id;
  int value = 0;
  if (!EnterMethod(method, args, &device_id) || !args.GetInteger(key, &value))
    return InvalidParameter(method);
  return LogSetArguments(method, device_id, key, value);
}

// A Set method whose value argument |key| is a string.
int SetStringArgument(const char* method, const char* key, const base::DictionaryValue& args) {
  std::string device_id;
  std::string value;
  if (!EnterMethod(method, args, &device_id) || !args.GetString(key, &value))
    return InvalidParameter(method);
  return LogSetArguments(method, device_id, key, value);
}

// A Get method that answers the integer 0 under |key|.
int AnswerZero(const char* method,
               const char* key,
               const base::DictionaryValue& args,
               base::DictionaryValue* result) {
  std::string device_id;
  if (!EnterMethod(method, args, &device_id))
    return InvalidParameter(method);
  result->SetInteger(key, 0);
  return kAvResultSuccess;
}

// A Get method that answers "not_supported" under |key|.
int AnswerNotSupported(const char* method,
                       const char* key,
                       const base::DictionaryValue& args,
                       base::DictionaryValue* result) {
  std::string device_id;
  if (!EnterMethod(method, args, &device_id))
    return InvalidParameter(method);
  result->SetString(key, kNotSupported);
  return kAvResultSuccess;
}

}  // namespace

// static
AvService* AvService::GetInstance() {
  return Singleton<AvService, LeakySingletonTraits<AvService>, AvService>::get();
}

AvService::AvService() = default;

AvService::~AvService() = default;

int AvService::GetSpeakerVolume(const base::DictionaryValue& args, base::DictionaryValue* result) {
  return AnswerZero(__func__, kSpeakerVolumeKey, args, result);
}

int AvService::SetSpeakerVolume(const base::DictionaryValue& args, base::DictionaryValue*) {
  return SetIntegerArgument(__func__, kSpeakerVolumeKey, args);
}

int AvService::GetMicVolume(const base::DictionaryValue& args, base::DictionaryValue* result) {
  return AnswerZero(__func__, kMicVolumeKey, args, result);
}

int AvService::SetMicVolume(const base::DictionaryValue& args, base::DictionaryValue*) {
  return SetIntegerArgument(__func__, kMicVolumeKey, args);
}

int AvService::GetSoundMuteState(const base::DictionaryValue& args, base::DictionaryValue* result) {
  return AnswerNotSupported(__func__, kMuteStateKey, args, result);
}

int AvService::SetSoundMuteState(const base::DictionaryValue& args, base::DictionaryValue*) {
  return SetStringArgument(__func__, kMuteStateKey, args);
}

int AvService::GetMicPower(const base::DictionaryValue& args, base::DictionaryValue* result) {
  return AnswerNotSupported(__func__, kMicPowerKey, args, result);
}

int AvService::SetMicPower(const base::DictionaryValue& args, base::DictionaryValue*) {
  return SetStringArgument(__func__, kMicPowerKey, args);
}

}  // namespace plugin
