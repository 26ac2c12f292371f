#include "plugin/device/av_plugin/stub/av_component.h"

#include "plugin/device/av_plugin/av_log.h"
#include "plugin/device/av_plugin/av_manager_impl.h"
#include "plugin/device/av_plugin/stub/av_stub.h"

namespace plugin {

namespace {

// Set by Init once the manager exists; tells Destroy whether to tear it down.
bool g_manager_started = false;

const std::string kPluginManagerInterface = "plugin_manager_itf";

}  // namespace

AvComponent* AvComponent::av_component_instance = nullptr;

AvComponent::AvComponent() = default;

AvComponent::~AvComponent() = default;

bool AvComponent::Init(runtime::Runtime* runtime) {
  av::ReadLogLevel();
  AV_LOG(logging::LOG_INFO) << "Call Init()";
  runtime_ = runtime;
  AvStub::InitDefault(runtime);
  AvManagerImpl::GetInstance();
  g_manager_started = true;
  return true;
}

bool AvComponent::QueryInterface(std::string name, void** out) {
  if (name != kPluginManagerInterface)
    return false;
  DevicePluginManagerItf* manager = AvManagerImpl::GetInstance();
  *out = manager;
  return manager != nullptr;
}

const char* AvComponent::GetComponentId() {
  return "av_plugin";
}

bool AvComponent::OpenLink(std::string channel_name, IPC::Channel::Mode mode) {
  AV_LOG(logging::LOG_INFO) << "Av OpenLink " << channel_name << "\n";
  return AvStub::OpenLink(channel_name, mode);
}

bool AvComponent::Destroy() {
  AvStub::DestroyDefault();
  if (!g_manager_started)
    return true;
  return AvManagerImpl::GetInstance()->Destroy();
}

}  // namespace plugin

runtime::BaseComponent* GetComponent() {
  if (plugin::AvComponent::av_component_instance == nullptr)
    plugin::AvComponent::av_component_instance = new plugin::AvComponent;
  return plugin::AvComponent::av_component_instance;
}
