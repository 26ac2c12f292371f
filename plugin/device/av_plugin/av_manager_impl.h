// The AV plugin's device plugin manager: the registry of the devices the plugin has
// announced, their property reads, the discovery and disconnection events, and the
// methods the runtime can call by name.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_AV_MANAGER_IMPL_H_
#define PLUGIN_DEVICE_AV_PLUGIN_AV_MANAGER_IMPL_H_

#include <map>
#include <mutex>
#include <string>

#include "base/memory/singleton.h"
#include "plugin/device/device_plugin_manager_interface.h"

namespace plugin {

class AvService;

class AvManagerImpl : public DevicePluginManagerItf {
 public:
  // The one manager, created and initialised on first use and never destroyed.
  static AvManagerImpl* GetInstance();

  ~AvManagerImpl() override;
  AvManagerImpl(const AvManagerImpl&) = delete;
  AvManagerImpl& operator=(const AvManagerImpl&) = delete;

  bool GetDeviceProperty(const std::string& device_id, device::_DeviceInfo* info) override;

  // Runs once, from the constructor: brings up the service and registers the methods.
  virtual int Init();
  // Withdraws the registered methods and frees every device record. Always true.
  virtual bool Destroy();

  void InitAvService();

  // Registers "GetInstance", "OnDiscovery" and "OnDeviceDisconnection" with the runtime's
  // reflection registry, and withdraws them; false when the runtime offers none.
  bool RegisterMethod();
  bool UnRegisterMethod();

  // Called by the platform through the reflection registry. Discovery records the device
  // and publishes event 35; disconnection publishes event 37 and keeps the record. Each
  // returns whether its event was published.
  bool OnDiscovery(const std::string& device_id);
  bool OnDeviceDisconnection(const std::string& device_id);

  // The local date and time, "YYYY-MM-DD hh:mm:ss".
  std::string GetCurrentDatetime();

 private:
  friend struct LeakySingletonTraits<AvManagerImpl>;

  AvManagerImpl();

  // Stores |record| under |device_id|, freeing a record it replaces. Takes ownership.
  void StoreDevice(const std::string& device_id, device::_DeviceInfo* record);

  // Device id to record; owns the records. Guarded by |device_map_lock_|, which is held
  // around each discovery, property read and Destroy.
  std::map<std::string, device::_DeviceInfo*> device_map_;
  AvService* av_service_ = nullptr;  // not owned: the service singleton
  std::mutex device_map_lock_;
};

}  // namespace plugin

#endif  // PLUGIN_DEVICE_AV_PLUGIN_AV_MANAGER_IMPL_H_
