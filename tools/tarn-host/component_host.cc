#include "tools/tarn-host/component_host.h"

#include "base/logging.h"
#include "runtime/component.h"
#include "runtime/component_library.h"
#include "tools/tarn-host/host_config.h"

namespace tarn_host {

const char ComponentHost::kManagerInterface[] = "plugin_manager_itf";

ComponentHost::ComponentHost(runtime::Runtime* runtime) : runtime_(runtime) {}

ComponentHost::~ComponentHost() {
  DestroyAll();
}

bool ComponentHost::Load(const ComponentConfig& config, std::string* error) {
  std::unique_ptr<runtime::ComponentLibrary> library =
      runtime::ComponentLibrary::Open(config.library, error);
  if (!library)
    return false;
  runtime::BaseComponent* component = library->component();
  for (const auto& loaded : loaded_) {
    // The same library under another name hands out the same component.
    if (loaded->component() == component) {
      *error =
          "component library " + config.library + " is already loaded, as " + loaded->library();
      return false;
    }
  }
  const bool initialised = component->Init(runtime_);
  if (!initialised)
    *error = "component library " + config.library + ": Init failed";
  if (!initialised || !Connect(config, library.get(), error)) {
    // Init may have set things up before it failed; Destroy releases whatever there is.
    component->Destroy();
    return false;
  }
  LOG_AT(logging::LOG_INFO) << "Loaded component \"" << component->GetComponentId() << "\" from "
                            << config.library;
  loaded_.push_back(std::move(library));
  return true;
}

void ComponentHost::DestroyAll() {
  while (!loaded_.empty()) {
    std::unique_ptr<runtime::ComponentLibrary> library = std::move(loaded_.back());
    loaded_.pop_back();
    if (!library->component()->Destroy())
      LOG_AT(logging::LOG_WARNING)
          << "Destroy of the component from " << library->library() << " returned false";
    else
      LOG_AT(logging::LOG_INFO) << "Destroyed the component from " << library->library();
  }
}

bool ComponentHost::Connect(const ComponentConfig& config,
                            runtime::ComponentLibrary* library,
                            std::string* error) {
  runtime::BaseComponent* component = library->component();
  void* manager = nullptr;
  if (!component->QueryInterface(kManagerInterface, &manager) || manager == nullptr) {
    *error = "component library " + config.library + ": no interface \"" + kManagerInterface + "\"";
    return false;
  }
  for (const LinkConfig& link : config.links) {
    if (!component->OpenLink(link.channel, link.mode)) {
      *error = "component library " + config.library + ": cannot open the link " + link.channel +
               " (" + ChannelModeName(link.mode) + ")";
      return false;
    }
    LOG_AT(logging::LOG_INFO) << "Opened link " << link.channel << " ("
                              << ChannelModeName(link.mode) << ")";
  }
  return true;
}

}  // namespace tarn_host
