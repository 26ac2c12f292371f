// The JSON form of a device record: an object with the record's 22 fields by name, in
// record order, number_21 as a number and every other field as a string.

#ifndef TOOLS_AVCTL_DEVICE_INFO_JSON_H_
#define TOOLS_AVCTL_DEVICE_INFO_JSON_H_

#include "tools/avctl/value_json.h"

namespace device {
struct _DeviceInfo;
}

namespace avctl {

Json DeviceInfoToJson(const device::_DeviceInfo& info);

}  // namespace avctl

#endif  // TOOLS_AVCTL_DEVICE_INFO_JSON_H_
