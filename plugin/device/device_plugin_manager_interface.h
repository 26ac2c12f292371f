// The interface through which the platform's device layer manages a plugin's devices.
// Every operation but the property read has a default that declines the request: it logs
// that the plugin does not support it and reports success.

#ifndef PLUGIN_DEVICE_DEVICE_PLUGIN_MANAGER_INTERFACE_H_
#define PLUGIN_DEVICE_DEVICE_PLUGIN_MANAGER_INTERFACE_H_

#include <string>

namespace device {
struct _DeviceInfo;
}  // namespace device

namespace plugin {

class DevicePluginManagerItf {
 public:
  virtual ~DevicePluginManagerItf() {}

  virtual bool RegisterDeviceRequest(const std::string& a,
                                     const std::string& b,
                                     const std::string& c);
  virtual bool UnregisterDeviceRequest(const std::string& a, const std::string& b);
  // Copies the record of |device_id| into |*info|; false when the device is unknown.
  virtual bool GetDeviceProperty(const std::string& device_id, device::_DeviceInfo* info) = 0;
  virtual bool ManualRescanDevices();
  virtual bool DeleteDeviceRequest();
};

}  // namespace plugin

#endif  // PLUGIN_DEVICE_DEVICE_PLUGIN_MANAGER_INTERFACE_H_
