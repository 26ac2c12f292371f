#include "runtime/runtime.h"

#include "base/memory/singleton.h"
#include "base/threading/thread.h"
#include "runtime/reflection.h"

namespace runtime {

// static
Runtime* Runtime::GetInstance() {
  return Singleton<Runtime, LeakySingletonTraits<Runtime>, Runtime>::get();
}

Runtime::Runtime() : reflection_(new Reflection), offered_reflection_(reflection_) {}

Runtime::~Runtime() = default;

void Runtime::SetConfigOptions(const std::map<std::string, std::string>& options) {
  std::lock_guard<std::mutex> lock(options_lock_);
  options_ = options;
}

bool Runtime::GetConfigOption(const std::string& key, std::string& value) const {
  std::lock_guard<std::mutex> lock(options_lock_);
  auto it = options_.find(key);
  if (it == options_.end()) {
    value.clear();
    return false;
  }
  value = it->second;
  return true;
}

base::Thread* Runtime::GetThread(int id) {
  if (id < 0 || id >= kThreadCount)
    return nullptr;
  std::lock_guard<std::mutex> lock(threads_lock_);
  std::unique_ptr<base::Thread>& thread = threads_[id];
  if (!thread)
    thread = std::make_unique<base::Thread>("runtime-" + std::to_string(id));
  if (!thread->IsRunning() && !thread->Start())
    return nullptr;
  return thread.get();
}

void Runtime::StopThreads() {
  std::lock_guard<std::mutex> lock(threads_lock_);
  for (auto& thread : threads_) {
    if (thread)
      thread->Stop();
  }
}

Reflection* Runtime::GetReflection() {
  return offered_reflection_.load();
}

void Runtime::SetReflectionForTesting(Reflection* reflection) {
  offered_reflection_.store(reflection);
}

}  // namespace runtime
