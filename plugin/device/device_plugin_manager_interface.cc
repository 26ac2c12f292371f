#include "plugin/device/device_plugin_manager_interface.h"

#include "base/logging.h"

namespace plugin {

bool DevicePluginManagerItf::RegisterDeviceRequest(const std::string&,
                                                   const std::string&,
                                                   const std::string&) {
  LOG_AT(logging::LOG_INFO) << "This plugin does not support register. Return ok directly.";
  return true;
}

bool DevicePluginManagerItf::UnregisterDeviceRequest(const std::string&, const std::string&) {
  LOG_AT(logging::LOG_INFO) << "This plugin does not support unregister. Return ok directly.";
  return true;
}

bool DevicePluginManagerItf::ManualRescanDevices() {
  LOG_AT(logging::LOG_INFO) << "This plugin does not support manual rescan. Return ok directly.";
  return true;
}

bool DevicePluginManagerItf::DeleteDeviceRequest() {
  LOG_AT(logging::LOG_INFO) << "This plugin does not support delete. Return ok directly.";
  return true;
}

}  // namespace plugin
