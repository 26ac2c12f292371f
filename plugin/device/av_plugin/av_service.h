// The AV service: the thirteen methods that the device layer invokes by name. Each takes
// the request's argument dictionary, adds its results to the result dictionary and returns
// a result code.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_AV_SERVICE_H_
#define PLUGIN_DEVICE_AV_PLUGIN_AV_SERVICE_H_

#include <string>

#include "base/memory/singleton.h"

namespace base {
class DictionaryValue;
}  // namespace base

namespace plugin {

// The resource groups that the AV device presents: "Operation", "Audio", "Information".
extern const char* const kResourceOperation;
extern const char* const kResourceAudio;
extern const char* const kResourceInformation;

// Result codes of the service methods.
enum AvResult {
  kAvResultSuccess = 0,
  kAvResultCecFailure = 100,        // the exchange with the CEC application failed
  kAvResultValueNotFound = 105,     // an argument holds a word outside its accepted set
  kAvResultInvalidParameter = 107,  // "device_id" or the value argument is missing or mistyped
  // Not a service method's code: the reply to a method name the service does not have.
  kAvResultUnknownMethod = 404,
};

// Every service method reads "device_id" (a string, required) first. |args| is only read;
// |result| is only added to, and only on success.
class AvService {
 public:
  // The one service, created on first use and never destroyed.
  static AvService* GetInstance();

  virtual ~AvService();
  AvService(const AvService&) = delete;
  AvService& operator=(const AvService&) = delete;

  // Volumes, mute and microphone. The Gets answer fixed values; the Sets check and log
  // their argument and report success without reaching the receiver.
  int GetSpeakerVolume(const base::DictionaryValue& args, base::DictionaryValue* result);
  int SetSpeakerVolume(const base::DictionaryValue& args, base::DictionaryValue* result);
  int GetMicVolume(const base::DictionaryValue& args, base::DictionaryValue* result);
  int SetMicVolume(const base::DictionaryValue& args, base::DictionaryValue* result);
  int GetSoundMuteState(const base::DictionaryValue& args, base::DictionaryValue* result);
  int SetSoundMuteState(const base::DictionaryValue& args, base::DictionaryValue* result);
  int GetMicPower(const base::DictionaryValue& args, base::DictionaryValue* result);
  int SetMicPower(const base::DictionaryValue& args, base::DictionaryValue* result);

  // The receiver's power: "power_state" is "on" or "off". Each call is one exchange
  // with the CEC application.
  int SetPowerState(const base::DictionaryValue& args, base::DictionaryValue* result);
  int GetPowerState(const base::DictionaryValue& args, base::DictionaryValue* result);

  // The receiver's sound mode: "sound_mode" is "Standard", "Music", "Movie", "ClearVoice"
  // or "Amplify". Setting reaches the receiver; the query always answers "not_supported".
  int SetSoundMode(const base::DictionaryValue& args, base::DictionaryValue* result);
  int GetSoundMode(const base::DictionaryValue& args, base::DictionaryValue* result);

  // The list "resources": "Information", "Audio", "Operation".
  int GetDeviceResources(const base::DictionaryValue& args, base::DictionaryValue* result);

  // One exchange with the TV's CEC application "nimbara.native.cec": sends the request
  // |strMessageName| with the single entry |strResultAnswerName|, whose value
  // |pResultAnswer| is read as the type named |strResultAnswerType| ("OCString",
  // "const char*" -- then |pResultAnswer| is the text itself --, "long", "float" or
  // "bool"), and waits for the reply. When |bCheckReturn| is set, the reply's bool
  // "return" decides the result. When |strReplyAnswerType| is not empty ("OCString",
  // "long", "float" or "bool"), the reply entry |strReplyAnswerName| of that type is
  // stored through |pReplyAnswer|. Returns false, with the reason logged, when anything
  // on the way fails.
  bool m_SendMessageToHdmiCec(std::string strMessageName,
                              std::string strResultAnswerName,
                              std::string strResultAnswerType,
                              void* pResultAnswer,
                              bool bCheckReturn,
                              std::string strReplyAnswerName,
                              std::string strReplyAnswerType,
                              void* pReplyAnswer);

 private:
  friend struct LeakySingletonTraits<AvService>;

  AvService();
};

}  // namespace plugin

#endif  // PLUGIN_DEVICE_AV_PLUGIN_AV_SERVICE_H_
