#include "plugin/device/av_plugin/av_service.h"

#include <string>

#include "base/values.h"
#include "plugin/device/av_plugin/av_export.h"
#include "plugin/device/av_plugin/av_log.h"
#include "tvapp/application_base.h"
#include "tvapp/message.h"
#include "tvapp/oc_string.h"
#include "tvapp/orvell.h"
#include "tvapp/query_handle.h"

namespace plugin {

// Exported for the platform. "extern" lets the attribute apply to a definition whose
// declaration in the header carries none.
extern AV_PLUGIN_EXPORT const char* const kResourceOperation = "Operation";
extern AV_PLUGIN_EXPORT const char* const kResourceAudio = "Audio";
extern AV_PLUGIN_EXPORT const char* const kResourceInformation = "Information";

namespace {

const char kDeviceIdKey[] = "device_id";
const char kSpeakerVolumeKey[] = "speaker_volume";
const char kMicVolumeKey[] = "mic_volume";
const char kMuteStateKey[] = "mute_state";
const char kMicPowerKey[] = "mic_power";
const char kPowerStateKey[] = "power_state";
const char kSoundModeKey[] = "sound_mode";
const char kResourcesKey[] = "resources";
const char kNotSupported[] = "not_supported";
const char kPowerOn[] = "on";
const char kPowerOff[] = "off";

// The TV's CEC application and the requests it understands.
const char kCecApplication[] = "nimbara.native.cec";
const char kCecSetOnOff[] = "set_cec_receiver_on_off";
const char kCecOnOffKey[] = "onoff";
const char kCecGetPowerStatus[] = "get_cec_receiver_power_status";
const char kCecPowerStatusArgumentKey[] = "powerstatus";
const char kCecPowerStatusReplyKey[] = "power status";
const char kCecSetSoundMode[] = "set_smart_home_sound_mode";
const char kCecSoundModeKey[] = "sound mode";
const char kCecReturnKey[] = "return";

// Type names of the bridge's argument and reply values.
const char kTypeOCString[] = "OCString";
const char kTypeText[] = "const char*";
const char kTypeLong[] = "long";
const char kTypeFloat[] = "float";
const char kTypeBool[] = "bool";

// The sound modes, in the order in which a name is matched, with the number the CEC
// application knows each by.
struct SoundMode {
  const char* name;
  long number;
};
const SoundMode kSoundModes[] = {
    {"Standard", 0}, {"Music", 1}, {"Movie", 2}, {"ClearVoice", 3}, {"Amplify", 4},
};

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

int CecFailure(const char* method) {
  AV_LOG_AS(logging::LOG_ERROR, method) << "[AV] >>> m_SendMessageToHdmiCec() is false!";
  return kAvResultCecFailure;
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

OCString FrameworkString(const std::string& text) {
  return OCString(text.c_str(), OCString::kTextEncodingUtf8);
}

// Adds the request's argument entry |key| with |value| read as the type named |type|.
// False, with nothing added, when |type| names no argument type.
bool AddArgument(const OCString& key,
                 const std::string& type,
                 void* value,
                 ORVELL0300::CMessage* request) {
  if (type == kTypeOCString)
    request->MakeResult(key, *static_cast<const OCString*>(value));
  else if (type == kTypeText)
    request->MakeResult(key, static_cast<const char*>(value));
  else if (type == kTypeLong)
    request->MakeResult(key, *static_cast<const long*>(value));
  else if (type == kTypeFloat)
    request->MakeResult(key, *static_cast<const float*>(value));
  else if (type == kTypeBool)
    request->MakeResult(key, *static_cast<const bool*>(value));
  else
    return false;
  return true;
}

enum ReplyValueOutcome {
  kReplyValueRead,
  kReplyValueMissing,  // no entry |key| of that type in the reply
  kReplyTypeUnknown,   // |type| names no reply type
};

// Reads the reply entry |key| of the type named |type| into |value|.
ReplyValueOutcome QueryReplyValue(const ORVELL0300::CMessage& reply,
                                  const OCString& key,
                                  const std::string& type,
                                  void* value) {
  int found = 0;
  if (type == kTypeOCString)
    found = reply.Query(key, *static_cast<OCString*>(value));
  else if (type == kTypeLong)
    found = reply.Query(key, *static_cast<long*>(value));
  else if (type == kTypeFloat)
    found = reply.Query(key, *static_cast<float*>(value));
  else if (type == kTypeBool)
    found = reply.Query(key, *static_cast<bool*>(value));
  else
    return kReplyTypeUnknown;
  return found ? kReplyValueRead : kReplyValueMissing;
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

int AvService::SetPowerState(const base::DictionaryValue& args, base::DictionaryValue*) {
  std::string device_id;
  std::string power_state;
  if (!EnterMethod(__func__, args, &device_id) || !args.GetString(kPowerStateKey, &power_state))
    return InvalidParameter(__func__);
  LogSetArguments(__func__, device_id, kPowerStateKey, power_state);
  bool on = false;
  if (power_state == kPowerOn) {
    on = true;
  } else if (power_state == kPowerOff) {
    on = false;
  } else {
    AV_LOG(logging::LOG_ERROR) << "[AV] >>> 'power_state' is not found!";
    return kAvResultValueNotFound;
  }
  if (!m_SendMessageToHdmiCec(kCecSetOnOff, kCecOnOffKey, kTypeBool, &on, true, "", "", nullptr))
    return CecFailure(__func__);
  return kAvResultSuccess;
}

int AvService::GetPowerState(const base::DictionaryValue& args, base::DictionaryValue* result) {
  std::string device_id;
  if (!EnterMethod(__func__, args, &device_id))
    return InvalidParameter(__func__);
  // The request carries 0, and the reply's status lands in the same variable.
  long power_status = 0;
  if (!m_SendMessageToHdmiCec(kCecGetPowerStatus, kCecPowerStatusArgumentKey, kTypeLong,
                              &power_status, true, kCecPowerStatusReplyKey, kTypeLong,
                              &power_status)) {
    return CecFailure(__func__);
  }
  result->SetString(kPowerStateKey, power_status == 0 ? kPowerOff : kPowerOn);
  return kAvResultSuccess;
}

int AvService::SetSoundMode(const base::DictionaryValue& args, base::DictionaryValue*) {
  std::string device_id;
  std::string sound_mode;
  if (!EnterMethod(__func__, args, &device_id) || !args.GetString(kSoundModeKey, &sound_mode))
    return InvalidParameter(__func__);
  LogSetArguments(__func__, device_id, kSoundModeKey, sound_mode);
  const SoundMode* match = nullptr;
  for (const SoundMode& mode : kSoundModes) {
    if (sound_mode == mode.name) {
      match = &mode;
      break;
    }
  }
  if (!match) {
    AV_LOG(logging::LOG_ERROR) << "[AV] >>> 'sound_mode' is not found!";
    return kAvResultValueNotFound;
  }
  long number = match->number;
  if (!m_SendMessageToHdmiCec(kCecSetSoundMode, kCecSoundModeKey, kTypeLong, &number, true, "", "",
                              nullptr)) {
    return CecFailure(__func__);
  }
  return kAvResultSuccess;
}

int AvService::GetSoundMode(const base::DictionaryValue& args, base::DictionaryValue* result) {
  return AnswerNotSupported(__func__, kSoundModeKey, args, result);
}

int AvService::GetDeviceResources(const base::DictionaryValue& args,
                                  base::DictionaryValue* result) {
  std::string device_id;
  if (!EnterMethod(__func__, args, &device_id))
    return InvalidParameter(__func__);
  base::ListValue* resources = new base::ListValue();
  resources->Append(base::Value::CreateStringValue(kResourceInformation));
  resources->Append(base::Value::CreateStringValue(kResourceAudio));
  resources->Append(base::Value::CreateStringValue(kResourceOperation));
  result->Set(kResourcesKey, resources);  // |result| takes ownership
  return kAvResultSuccess;
}

bool AvService::m_SendMessageToHdmiCec(std::string strMessageName,
                                       std::string strResultAnswerName,
                                       std::string strResultAnswerType,
                                       void* pResultAnswer,
                                       bool bCheckReturn,
                                       std::string strReplyAnswerName,
                                       std::string strReplyAnswerType,
                                       void* pReplyAnswer) {
  ORVELL0300::CMessage request;
  ORVELL0300::CMessage reply;
  request.SetName(FrameworkString(strMessageName));
  if (!AddArgument(FrameworkString(strResultAnswerName), strResultAnswerType, pResultAnswer,
                   &request)) {
    AV_LOG(logging::LOG_ERROR) << "Unknown strResultAnswerType!!";
    return false;
  }
  AV_LOG(logging::LOG_ERROR) << "[AV] >>> SendMessage : " << strMessageName;

  ORVELL0300::CApplicationBase* application = CQueryHandle::GetApplication();
  const int instance_id = ORVELL0300::ORVELL::GetInstanceID(FrameworkString(kCecApplication));
  if (!application->SendMessage(ORVELL0300::kMessageTypeQuery, instance_id, request, reply)) {
    AV_LOG(logging::LOG_ERROR) << "[AV] >>> SendMessage() is false!";
    return false;
  }

  bool result = true;
  if (reply.NumOfQuery() <= 0) {
    AV_LOG(logging::LOG_ERROR) << "[AV] >>> reply.NumOfQuery() is smaller than 0!";
    return false;
  }
  if (bCheckReturn) {
    if (!reply.Query(FrameworkString(kCecReturnKey), result)) {
      AV_LOG(logging::LOG_ERROR) << "[[AV] >>> reply.Query() is false";
      return false;
    }
    AV_LOG(logging::LOG_ERROR) << "[AV] >>> return : " << (result ? "true" : "false");
  }
  if (strReplyAnswerType.empty())
    return result;
  switch (QueryReplyValue(reply, FrameworkString(strReplyAnswerName), strReplyAnswerType,
                          pReplyAnswer)) {
    case kReplyTypeUnknown:
      AV_LOG(logging::LOG_ERROR) << "Unknown strReplyAnswerType!!";
      return false;
    case kReplyValueMissing:
      AV_LOG(logging::LOG_INFO) << "[[AV] >>> reply.Query() is false";
      return false;
    case kReplyValueRead:
      break;
  }
  return result;
}

}  // namespace plugin
