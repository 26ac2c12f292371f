// The device layer's record of one device: 21 text fields and one 8-bit number. A plain
// value, copied and assigned field by field.

#ifndef DEVICE_DEVICE_INFO_H_
#define DEVICE_DEVICE_INFO_H_

#include <cstdint>
#include <string>

namespace device {

struct _DeviceInfo {
  // A new record: every text empty, number_21 zero.
  _DeviceInfo() = default;

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

inline bool operator==(const _DeviceInfo& x, const _DeviceInfo& y) {
  return x.device_id == y.device_id && x.plugin_name == y.plugin_name && x.text_03 == y.text_03 &&
         x.text_04 == y.text_04 && x.text_05 == y.text_05 && x.text_06 == y.text_06 &&
         x.text_07 == y.text_07 && x.discovery_datetime == y.discovery_datetime &&
         x.text_09 == y.text_09 && x.text_10 == y.text_10 && x.text_11 == y.text_11 &&
         x.text_12 == y.text_12 && x.text_13 == y.text_13 && x.text_14 == y.text_14 &&
         x.text_15 == y.text_15 && x.text_16 == y.text_16 && x.text_17 == y.text_17 &&
         x.text_18 == y.text_18 && x.text_19 == y.text_19 && x.text_20 == y.text_20 &&
         x.number_21 == y.number_21 && x.rdf_properties == y.rdf_properties;
}

inline bool operator!=(const _DeviceInfo& x, const _DeviceInfo& y) {
  return !(x == y);
}

}  // namespace device

#endif  // DEVICE_DEVICE_INFO_H_
