#include "tools/avctl/device_info_json.h"

#include "device/device_info.h"

namespace avctl {

Json DeviceInfoToJson(const device::_DeviceInfo& info) {
  Json json = Json::object();
  json["device_id"] = info.device_id;
  json["plugin_name"] = info.plugin_name;
  json["text_03"] = info.text_03;
  json["text_04"] = info.text_04;
  json["text_05"] = info.text_05;
  json["text_06"] = info.text_06;
  json["text_07"] = info.text_07;
  json["discovery_datetime"] = info.discovery_datetime;
  json["text_09"] = info.text_09;
  json["text_10"] = info.text_10;
  json["text_11"] = info.text_11;
  json["text_12"] = info.text_12;
  json["text_13"] = info.text_13;
  json["text_14"] = info.text_14;
  json["text_15"] = info.text_15;
  json["text_16"] = info.text_16;
  json["text_17"] = info.text_17;
  json["text_18"] = info.text_18;
  // Never carried on the wire: a received record holds whatever the reader started with.
  json["text_19"] = info.text_19;
  json["text_20"] = info.text_20;
  json["number_21"] = static_cast<unsigned>(info.number_21);
  json["rdf_properties"] = info.rdf_properties;
  return json;
}

}  // namespace avctl
