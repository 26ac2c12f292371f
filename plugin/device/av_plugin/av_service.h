// The AV service: the thirteen methods that the device layer invokes by name. Each takes
// the request's argument dictionary, adds its results to the result dictionary and returns
// a result code.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_AV_SERVICE_H_
#define PLUGIN_DEVICE_AV_PLUGIN_AV_SERVICE_H_

#include "base/memory/singleton.h"

namespace base {
class DictionaryValue;
}  // namespace base

namespace plugin {

// Result codes of the service methods.
enum AvResult {
  kAvResultSuccess = 0,
  kAvResultCecFailure = 100,        // the exchange with the CEC application failed
  kAvResultValueNotFound = 105,     // an argument holds a word outside its accepted set
  kAvResultInvalidParameter = 107,  // "device_id" or the value argument is missing or mistyped
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

 private:
  friend struct LeakySingletonTraits<AvService>;

  AvService();
};

}  // namespace plugin

#endif  // PLUGIN_DEVICE_AV_PLUGIN_AV_SERVICE_H_
