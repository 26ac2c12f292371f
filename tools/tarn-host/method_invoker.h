// Invokes methods registered with the runtime's reflection registry on behalf of control
// clients: a "bool (std::string)" member method, on the object that its class's registered
// "GetInstance" hands out. This is how the platform reaches a plugin's "OnDiscovery" and
// "OnDeviceDisconnection".

#ifndef TOOLS_TARN_HOST_METHOD_INVOKER_H_
#define TOOLS_TARN_HOST_METHOD_INVOKER_H_

#include <string>

#include "tools/control/control_messages.h"

namespace base {
class DictionaryValue;
}  // namespace base

namespace runtime {
class Reflection;
}  // namespace runtime

namespace tarn_host {

class MethodInvoker {
 public:
  // |reflection| is not owned; null stands for a runtime that offers no registry.
  explicit MethodInvoker(runtime::Reflection* reflection);
  MethodInvoker(const MethodInvoker&) = delete;
  MethodInvoker& operator=(const MethodInvoker&) = delete;

  // Takes the four strings "component", "class", "method" and "argument" from |request|
  // and invokes that method with the argument. Returns kInvokeOk with the method's result
  // in |*result|, or the reason nothing was invoked, with |*result| false. Writes one line
  // at LOG_INFO per request. Any thread; invocations may run concurrently.
  control::InvokeStatus Invoke(const base::DictionaryValue& request, bool* result);

  control::InvokeStatus Invoke(const std::string& component,
                               const std::string& class_name,
                               const std::string& method,
                               const std::string& argument,
                               bool* result);

 private:
  // The object that |class_name|'s "GetInstance" hands out, or null.
  void* GetInstance(const std::string& component, const std::string& class_name);

  runtime::Reflection* const reflection_;  // not owned
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_METHOD_INVOKER_H_
