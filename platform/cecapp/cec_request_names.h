// The requests that the TV's CEC application "nimbara.native.cec" answers, and the keys of
// their entries: one vocabulary for every implementation of it (the kernel CEC application
// here, the receiver simulator).
//   "set_cec_receiver_on_off"        "onoff" (bool)        reply "return"
//   "get_cec_receiver_power_status"  (no argument needed)  reply "return", "power status"
//   "set_smart_home_sound_mode"      "sound mode" (long)   reply "return"

#ifndef CECAPP_CEC_REQUEST_NAMES_H_
#define CECAPP_CEC_REQUEST_NAMES_H_

#include "tvapp/oc_string.h"

namespace cecapp {

inline constexpr char kSetOnOff[] = "set_cec_receiver_on_off";
inline constexpr char kGetPowerStatus[] = "get_cec_receiver_power_status";
inline constexpr char kSetSoundMode[] = "set_smart_home_sound_mode";
inline constexpr char kOnOffKey[] = "onoff";
inline constexpr char kPowerStatusKey[] = "power status";
inline constexpr char kSoundModeKey[] = "sound mode";
inline constexpr char kReturnKey[] = "return";

// |text| as the framework's string, in the one encoding applications exchange.
inline OCString Utf8(const char* text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}

}  // namespace cecapp

#endif  // CECAPP_CEC_REQUEST_NAMES_H_
