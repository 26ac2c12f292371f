#include "runtime/reflection.h"

#include <mutex>
#include <utility>

#include "base/synchronization/call_gate.h"
#include "runtime/reflection_templates.h"

namespace runtime {

struct Reflection::Entry {
  Entry(MethodInfo method_info, std::unique_ptr<FunctionMethodContainerBase> method_container)
      : info(std::move(method_info)), container(std::move(method_container)) {}

  const MethodInfo info;
  // Reset by whoever ends the last call, once the entry has left the table.
  std::unique_ptr<FunctionMethodContainerBase> container;
  base::CallGate calls;
};

namespace {

std::string Trim(const std::string& text) {
  const size_t first = text.find_first_not_of(" \t");
  if (first == std::string::npos)
    return std::string();
  const size_t last = text.find_last_not_of(" \t");
  return text.substr(first, last - first + 1);
}

// Splits |list| at the commas that are not inside <...> or (...).
bool SplitParameters(const std::string& list, std::vector<std::string>* out) {
  int depth = 0;
  size_t start = 0;
  for (size_t i = 0; i <= list.size(); ++i) {
    const char c = i < list.size() ? list[i] : ',';
    if (c == '<' || c == '(') {
      ++depth;
    } else if (c == '>' || c == ')') {
      if (--depth < 0)
        return false;
    } else if (c == ',' && depth == 0) {
      const std::string parameter = Trim(list.substr(start, i - start));
      if (parameter.empty())
        return false;
      out->push_back(parameter);
      start = i + 1;
    }
  }
  return depth == 0;
}

}  // namespace

Reflection::Reflection() = default;

Reflection::~Reflection() = default;

bool Reflection::ParseSignature(const std::string& signature,
                                std::string& return_type,
                                std::vector<std::string>& params_type) {
  return_type.clear();
  params_type.clear();
  const std::string text = Trim(signature);
  const size_t open = text.find('(');
  if (open == std::string::npos || text.empty() || text.back() != ')')
    return false;
  std::string result = Trim(text.substr(0, open));
  const std::string list = Trim(text.substr(open + 1, text.size() - open - 2));
  std::vector<std::string> parameters;
  if (result.empty() || (!list.empty() && list != "void" && !SplitParameters(list, &parameters)))
    return false;
  return_type = std::move(result);
  params_type = std::move(parameters);
  return true;
}

bool Reflection::AddMethod(const std::string& component,
                           const std::string& class_name,
                           const std::string& method,
                           const std::string& return_type,
                           const std::vector<std::string>& params_type,
                           FunctionMethodContainerBase* container) {
  std::unique_ptr<FunctionMethodContainerBase> owned(container);
  if (!owned)
    return false;
  auto entry = std::make_shared<Entry>(MethodInfo{return_type, params_type}, std::move(owned));
  std::shared_ptr<Entry> replaced;
  {
    std::unique_lock<std::shared_mutex> lock(lock_);
    std::shared_ptr<Entry>& slot = methods_[Key(component, class_name, method)];
    replaced = std::move(slot);
    slot = std::move(entry);
  }
  if (replaced)
    Retire(std::move(replaced));
  return true;
}

bool Reflection::RemoveMethod(const std::string& component,
                              const std::string& class_name,
                              const std::string& method,
                              const std::string& /*return_type*/,
                              const std::vector<std::string>& /*params_type*/) {
  std::shared_ptr<Entry> removed;
  {
    std::unique_lock<std::shared_mutex> lock(lock_);
    auto it = methods_.find(Key(component, class_name, method));
    if (it == methods_.end())
      return false;
    removed = std::move(it->second);
    methods_.erase(it);
  }
  Retire(std::move(removed));
  return true;
}

// static
void Reflection::Retire(std::shared_ptr<Entry> entry) {
  // Waits for the calls on other threads.
  if (entry->calls.Close())
    entry->container.reset();
}

bool Reflection::GetMethod(const std::string& component,
                           const std::string& class_name,
                           const std::string& method,
                           MethodInfo* info) const {
  std::shared_lock<std::shared_mutex> lock(lock_);
  auto it = methods_.find(Key(component, class_name, method));
  if (it == methods_.end())
    return false;
  if (info)
    *info = it->second->info;
  return true;
}

bool Reflection::Invoke(const std::string& component,
                        const std::string& class_name,
                        const std::string& method,
                        void* ret,
                        void* obj,
                        void** argv) {
  std::shared_ptr<Entry> entry;
  {
    std::shared_lock<std::shared_mutex> lock(lock_);
    auto it = methods_.find(Key(component, class_name, method));
    if (it == methods_.end())
      return false;
    entry = it->second;
  }
  // Refused once the method has been removed or replaced meanwhile.
  if (!entry->calls.Enter())
    return false;
  entry->container->invoke(ret, obj, argv);
  if (entry->calls.Leave())
    entry->container.reset();
  return true;
}

size_t Reflection::CountMethods(const std::string& component) const {
  std::shared_lock<std::shared_mutex> lock(lock_);
  size_t count = 0;
  for (const auto& entry : methods_)
    count += std::get<0>(entry.first) == component ? 1 : 0;
  return count;
}

}  // namespace runtime
