// The smallest component: it answers to its id, logs its start and opens no links.

#include "runtime/component.h"
#include "runtime/module_level_log.h"

namespace sample {

int log_level = 0;

class SampleComponent : public runtime::BaseComponent {
 public:
  bool Init(runtime::Runtime* runtime) override {
    runtime::ReadModuleLogLevel("sample_log_level", &log_level);
    MODULE_LEVEL_LOG("sample", log_level, logging::LOG_INFO, __func__) << "started";
    return BaseComponent::Init(runtime);
  }
  const char* GetComponentId() override { return "sample"; }
  bool Destroy() override { return true; }
};

}  // namespace sample

extern "C" __attribute__((visibility("default"))) runtime::BaseComponent* GetComponent() {
  static sample::SampleComponent* component = new sample::SampleComponent;
  return component;
}
