// The device record that the platform's device layer keeps for each device of a plugin.

#ifndef DEVICE_DEVICE_INFO_H_
#define DEVICE_DEVICE_INFO_H_

#include <cstdint>
#include <string>

namespace device {

// 21 text fields and one 8-bit number, copied field by field. A new record has every text
// field empty and number_21 equal to 0.
struct _DeviceInfo {
  std::string device_id;
  std::string plugin_name;
  std::string text_03;
  std::string text_04;
  std::string text_05;
  std::string text_06;
  std::string text_07;
  std::string discovery_datetime;
  std::string text_09;
  std::string text_10;
  std::string text_11;
  std::string text_12;
  std::string text_13;
  std::string text_14;
  std::string text_15;
  std::string text_16;
  std::string text_17;
  std::string text_18;
  std::string text_19;
  std::string text_20;
  uint8_t number_21 = 0;
  std::string rdf_properties;
};

}  // namespace device

#endif  // DEVICE_DEVICE_INFO_H_
