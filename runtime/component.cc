#include "runtime/component.h"

#include "base/debug/stack_trace.h"
#include "base/logging.h"

namespace runtime {

BaseComponent::BaseComponent() = default;

bool BaseComponent::QueryInterface(std::string, void**) {
  return false;
}

bool BaseComponent::Init(Runtime* runtime) {
  runtime_ = runtime;
  return runtime != nullptr;
}

bool BaseComponent::Start() {
  return true;
}

const char* BaseComponent::GetComponentId() {
  return "";
}

bool BaseComponent::OpenLink(std::string, IPC::Channel::Mode) {
  return false;
}

BaseComponent::~BaseComponent() {
  base::debug::StackTrace trace;
  // During base destruction the id in effect is the base's own.
  LOG_AT(logging::LOG_ERROR) << GetComponentId() << ": COMPONENT_DESTROY is called"
                             << trace.ToString();
}

}  // namespace runtime
