// The AV plugin's component: what the runtime gets from GetComponent(). It reads the
// module log level and brings up the manager at Init, hands the manager out as
// "plugin_manager_itf", opens one stub per link, and at Destroy deletes the stubs and then
// tears the manager down.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_COMPONENT_H_
#define PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_COMPONENT_H_

#include <string>

#include "plugin/device/av_plugin/av_export.h"
#include "runtime/component.h"

namespace plugin {

class AvComponent : public runtime::BaseComponent {
 public:
  AvComponent();
  ~AvComponent() override;

  bool QueryInterface(std::string name, void** out) override;
  bool Init(runtime::Runtime* runtime) override;
  const char* GetComponentId() override;
  bool Destroy() override;
  bool OpenLink(std::string channel_name, IPC::Channel::Mode mode) override;

  // The one component, made by GetComponent(); never deleted by the plugin.
  static AvComponent* av_component_instance;
};

}  // namespace plugin

// The runtime's entry into the plugin: the one component, created on the first call.
extern "C" AV_PLUGIN_EXPORT runtime::BaseComponent* GetComponent();

#endif  // PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_COMPONENT_H_
