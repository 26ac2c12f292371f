#include "tools/tarn-host/method_invoker.h"

#include <vector>

#include "base/logging.h"
#include "base/values.h"
#include "runtime/reflection.h"

namespace tarn_host {

namespace {

const char kInstanceMethod[] = "GetInstance";
const char kReturnType[] = "bool";
const char kParameterType[] = "std::string";

bool IsPointerType(const std::string& type) {
  return !type.empty() && type.back() == '*';
}

}  // namespace

MethodInvoker::MethodInvoker(runtime::Reflection* reflection) : reflection_(reflection) {}

control::InvokeStatus MethodInvoker::Invoke(const base::DictionaryValue& request, bool* result) {
  std::string component;
  std::string class_name;
  std::string method;
  std::string argument;
  if (!request.GetString("component", &component) || !request.GetString("class", &class_name) ||
      !request.GetString("method", &method) || !request.GetString("argument", &argument)) {
    *result = false;
    LOG_AT(logging::LOG_INFO) << "Invoke: a request without its four strings: "
                              << control::InvokeStatusText(control::kInvokeBadRequest);
    return control::kInvokeBadRequest;
  }
  return Invoke(component, class_name, method, argument, result);
}

control::InvokeStatus MethodInvoker::Invoke(const std::string& component,
                                            const std::string& class_name,
                                            const std::string& method,
                                            const std::string& argument,
                                            bool* result) {
  *result = false;
  control::InvokeStatus status = control::kInvokeOk;
  runtime::Reflection::MethodInfo info;
  void* object = nullptr;
  if (reflection_ == nullptr || !reflection_->GetMethod(component, class_name, method, &info)) {
    status = control::kInvokeNoSuchMethod;
  } else if (info.return_type != kReturnType ||
             info.params_type != std::vector<std::string>{kParameterType}) {
    status = control::kInvokeBadSignature;
  } else if ((object = GetInstance(component, class_name)) == nullptr) {
    status = control::kInvokeNoInstance;
  } else {
    std::string parameter = argument;
    void* argv[] = {&parameter};
    bool returned = false;
    // The method may have been withdrawn since it was looked up.
    if (reflection_->Invoke(component, class_name, method, &returned, object, argv))
      *result = returned;
    else
      status = control::kInvokeNoSuchMethod;
  }
  LOG_AT(logging::LOG_INFO) << "Invoke " << component << " " << class_name << " " << method << "(\""
                            << argument << "\"): " << control::InvokeStatusText(status)
                            << (status == control::kInvokeOk
                                    ? (*result ? ", returned true" : ", returned false")
                                    : "");
  return status;
}

void* MethodInvoker::GetInstance(const std::string& component, const std::string& class_name) {
  runtime::Reflection::MethodInfo info;
  if (!reflection_->GetMethod(component, class_name, kInstanceMethod, &info) ||
      !info.params_type.empty() || !IsPointerType(info.return_type)) {
    return nullptr;
  }
  // The registered function returns a pointer to the class, stored where |object| is.
  void* object = nullptr;
  if (!reflection_->Invoke(component, class_name, kInstanceMethod, &object, nullptr, nullptr))
    return nullptr;
  return object;
}

}  // namespace tarn_host
