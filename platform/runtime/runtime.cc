#include "runtime/runtime.h"

#include <cstdlib>

#include "base/logging.h"
#include "base/memory/singleton.h"
#include "base/threading/thread.h"
#include "runtime/config_file.h"
#include "runtime/reflection.h"

namespace runtime {

namespace {

std::string DefaultConfigPath() {
  const char* from_environment = std::getenv("TARN_CONFIG");
  if (from_environment != nullptr && *from_environment != '\0')
    return from_environment;
  return "config.xml";
}

}  // namespace

// static
Runtime* Runtime::GetInstance() {
  return Singleton<Runtime, LeakySingletonTraits<Runtime>, Runtime>::get();
}

Runtime::Runtime() : reflection_(new Reflection), offered_reflection_(reflection_) {}

Runtime::~Runtime() = default;

bool Runtime::LoadConfigFile(const std::string& path) {
  std::lock_guard<std::mutex> lock(lock_);
  return LoadConfigFileLocked(path);
}

bool Runtime::GetConfigOption(const std::string& key, std::string& value) const {
  std::lock_guard<std::mutex> lock(lock_);
  EnsureConfigLoadedLocked();
  auto it = options_.find(key);
  if (it == options_.end()) {
    value.clear();
    return false;
  }
  value = it->second;
  return true;
}

void Runtime::SetConfigOption(const std::string& key, const std::string& value) {
  std::lock_guard<std::mutex> lock(lock_);
  EnsureConfigLoadedLocked();
  options_[key] = value;
}

void Runtime::SetConfigOptions(const std::map<std::string, std::string>& options) {
  std::lock_guard<std::mutex> lock(lock_);
  config_loaded_ = true;
  options_ = options;
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

void Runtime::ResetConfigForTesting() {
  std::lock_guard<std::mutex> lock(lock_);
  options_.clear();
  config_loaded_ = false;
}

void Runtime::EnsureConfigLoadedLocked() const {
  if (!config_loaded_)
    LoadConfigFileLocked(DefaultConfigPath());
}

bool Runtime::LoadConfigFileLocked(const std::string& path) const {
  config_loaded_ = true;
  ConfigFile file;
  std::string error;
  if (!file.Load(path, &error)) {
    options_.clear();
    LOG_AT(logging::LOG_ERROR) << error;
    return false;
  }
  options_ = file.options();
  return true;
}

}  // namespace runtime
