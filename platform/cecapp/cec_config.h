// How the TV's CEC application uses the kernel's CEC framework: the adapter, the logical
// address it claims, the audio system it talks to, how long it waits, and the vendor
// commands that stand for sound modes. Read from tarn-host's <application> element.

#ifndef CECAPP_CEC_CONFIG_H_
#define CECAPP_CEC_CONFIG_H_

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace cecapp {

// The kind of logical address claimed on the bus; the kernel picks a free address of it.
enum class DeviceType {
  kTv,         // 0, or 14 when another TV already has 0
  kSpecific,   // 14: a second TV
  kPlayback,   // 4, 8 or 11
  kRecording,  // 1, 2 or 9
  kTuner,      // 3, 6, 7 or 10
};

// Sound modes are numbered from 0 to kMaxSoundMode.
const long kMaxSoundMode = 4;

// The longest reply wait accepted, in milliseconds.
const long kMaxReplyTimeoutMs = 10000;

struct CecConfig {
  CecConfig();
  ~CecConfig();
  CecConfig(const CecConfig& other);
  CecConfig& operator=(const CecConfig& other);

  std::string device_path;  // "/dev/cec0"
  DeviceType device_type = DeviceType::kTv;
  uint8_t audio_address = 5;  // the audio system's logical address
  // How long the kernel waits for a reply (<Report Power Status>).
  std::chrono::milliseconds reply_timeout{1000};
  // For each sound mode that the receiver has a command for: the command's opcode and
  // operands, sent to the audio system. A mode without one is refused.
  std::map<long, std::vector<uint8_t>> sound_mode_commands;
  // How long the framework's sender waits for an answer; nothing is sent that could not
  // finish within it.
  std::chrono::milliseconds time_limit{5000};
};

// "tv", "specific", "playback", "recording", "tuner".
const char* DeviceTypeName(DeviceType type);
bool DeviceTypeFromName(const std::string& name, DeviceType* type);

// A command written as 1 to 15 bytes of two hexadecimal digits, separated by blanks:
// "89 01 0a". False when |text| is not one.
bool CommandFromText(const std::string& text, std::vector<uint8_t>* command);
// The command written that way, lower case.
std::string CommandText(const std::vector<uint8_t>& command);

}  // namespace cecapp

#endif  // CECAPP_CEC_CONFIG_H_
