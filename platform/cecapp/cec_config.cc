#include "cecapp/cec_config.h"

#include <linux/cec.h>

#include <cstdio>
#include <sstream>

namespace cecapp {

namespace {

const struct {
  DeviceType type;
  const char* name;
} kDeviceTypeNames[] = {
    {DeviceType::kTv, "tv"},
    {DeviceType::kSpecific, "specific"},
    {DeviceType::kPlayback, "playback"},
    {DeviceType::kRecording, "recording"},
    {DeviceType::kTuner, "tuner"},
};

int HexDigit(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  if (c >= 'A' && c <= 'F')
    return c - 'A' + 10;
  return -1;
}

}  // namespace

CecConfig::CecConfig() = default;
CecConfig::~CecConfig() = default;
CecConfig::CecConfig(const CecConfig& other) = default;
CecConfig& CecConfig::operator=(const CecConfig& other) = default;

const char* DeviceTypeName(DeviceType type) {
  for (const auto& entry : kDeviceTypeNames) {
    if (entry.type == type)
      return entry.name;
  }
  return "";
}

bool DeviceTypeFromName(const std::string& name, DeviceType* type) {
  for (const auto& entry : kDeviceTypeNames) {
    if (name == entry.name) {
      *type = entry.type;
      return true;
    }
  }
  return false;
}

bool CommandFromText(const std::string& text, std::vector<uint8_t>* command) {
  std::istringstream words(text);
  std::vector<uint8_t> bytes;
  std::string word;
  while (words >> word) {
    if (word.size() != 2 || HexDigit(word[0]) < 0 || HexDigit(word[1]) < 0)
      return false;
    bytes.push_back(static_cast<uint8_t>(HexDigit(word[0]) * 16 + HexDigit(word[1])));
  }
  // The frame's first byte is the header, so a command has room for 15.
  if (bytes.empty() || bytes.size() > CEC_MAX_MSG_SIZE - 1)
    return false;
  *command = bytes;
  return true;
}

std::string CommandText(const std::vector<uint8_t>& command) {
  std::string text;
  char byte[3];
  for (uint8_t value : command) {
    std::snprintf(byte, sizeof(byte), "%02x", value);
    text += (text.empty() ? "" : " ") + std::string(byte);
  }
  return text;
}

}  // namespace cecapp
