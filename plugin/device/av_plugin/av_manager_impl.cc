#include "plugin/device/av_plugin/av_manager_impl.h"

#include <memory>
#include <vector>

#include "base/json/json_writer.h"
#include "base/strings/stringprintf.h"
#include "base/time/time.h"
#include "base/values.h"
#include "device/device_info.h"
#include "event/event.h"
#include "event/event_manager.h"
#include "ipc/pickle.h"
#include "plugin/device/av_plugin/av_log.h"
#include "plugin/device/av_plugin/av_service.h"
#include "runtime/reflection.h"
#include "runtime/reflection_templates.h"
#include "runtime/runtime.h"

namespace plugin {

namespace {

const char kPluginName[] = "av_plugin";
const char kClassName[] = "AvManagerImpl";
const char kGetInstanceSignature[] = "plugin::AvManagerImpl * ()";
const char kDeviceMethodSignature[] = "bool (std::string)";

// The IRIs of the property JSON, made once at load.
const std::string kDeviceOntologyNamespace =
    "http://tarn.example/TARN/TARNPlatform/ontology/util/Device.owl#";
const std::string kXmlSchemaNamespace = "http://www.w3.org/2001/XMLSchema#";
const std::string kOriginalIdIri = kDeviceOntologyNamespace + "originalId";
const std::string kStringTypeIri = kXmlSchemaNamespace + "string";

typedef runtime::MethodContainerType1_<bool, AvManagerImpl, const std::string> DeviceMethod;

// Registers this class's method |name|, of |signature|, served by a |Container| made over
// |function|.
template <class Container, class Function>
void AddReflectedMethod(runtime::Reflection* reflection,
                        const char* name,
                        const char* signature,
                        Function function) {
  std::string return_type;
  std::vector<std::string> params_type;
  reflection->ParseSignature(signature, return_type, params_type);
  reflection->AddMethod(kPluginName, kClassName, name, return_type, params_type,
                        new Container(function, return_type, params_type));
}

void RemoveReflectedMethod(runtime::Reflection* reflection,
                           const char* name,
                           const char* signature) {
  std::string return_type;
  std::vector<std::string> params_type;
  reflection->ParseSignature(signature, return_type, params_type);
  reflection->RemoveMethod(kPluginName, kClassName, name, return_type, params_type);
}

// {"Properties":[{"property":<originalId>,"type":<string>,"value":<device id>}]}
std::string MakePropertyJson(const std::string& device_id) {
  auto* property = new base::DictionaryValue;
  property->SetWithoutPathExpansion("property", base::Value::CreateStringValue(kOriginalIdIri));
  property->SetWithoutPathExpansion("value", base::Value::CreateStringValue(device_id));
  property->SetWithoutPathExpansion("type", base::Value::CreateStringValue(kStringTypeIri));
  auto* properties = new base::ListValue;
  properties->Append(property);
  base::DictionaryValue root;
  root.Set("Properties", properties);
  std::string json;
  base::JSONWriter::Write(&root, &json);
  return json;
}

// Writes |entries| as the payload of |event|, publishes it and destroys it. Lines are
// written on behalf of |function|. Takes ownership of |event|.
bool PublishDeviceEvent(const char* function,
                        evt::Event* event,
                        const std::vector<std::string>& entries,
                        const std::string& device_id) {
  std::unique_ptr<evt::Event> owned(event);
  Pickle pickle;
  for (const std::string& entry : entries) {
    if (!pickle.WriteString(entry)) {
      AV_LOG_AS(logging::LOG_ERROR, function) << "Set pickle data error.";
      return false;
    }
  }
  owned->SetData(pickle);
  evt::EventManager::GetInstance()->PublishEvent(owned.get());
  const int id = owned->id();
  owned.reset();
  AV_LOG_AS(logging::LOG_INFO, function)
      << "EventPublished: " << id << ", device_id = " << device_id;
  return true;
}

}  // namespace

// static
AvManagerImpl* AvManagerImpl::GetInstance() {
  return Singleton<AvManagerImpl, LeakySingletonTraits<AvManagerImpl>, AvManagerImpl>::get();
}

AvManagerImpl::AvManagerImpl() {
  AvManagerImpl::Init();
}

AvManagerImpl::~AvManagerImpl() = default;

int AvManagerImpl::Init() {
  AV_LOG(logging::LOG_INFO) << "Call Init()";
  InitAvService();
  RegisterMethod();
  return 0;
}

void AvManagerImpl::InitAvService() {
  av_service_ = AvService::GetInstance();
}

bool AvManagerImpl::Destroy() {
  UnRegisterMethod();
  {
    std::lock_guard<std::mutex> lock(device_map_lock_);
    for (auto& entry : device_map_)
      delete entry.second;
    device_map_.clear();
  }
  AV_LOG(logging::LOG_INFO) << "Destroy";
  return true;
}

bool AvManagerImpl::GetDeviceProperty(const std::string& device_id, device::_DeviceInfo* info) {
  AV_LOG(logging::LOG_ERROR) << "stub: GetDeviceProperty";
  if (info == nullptr) {
    AV_LOG(logging::LOG_ERROR) << "Invalid parameter.";
    return false;
  }
  std::lock_guard<std::mutex> lock(device_map_lock_);
  auto it = device_map_.find(device_id);
  if (it == device_map_.end() || it->second == nullptr)
    return false;
  *info = *it->second;
  return true;
}

bool AvManagerImpl::RegisterMethod() {
  runtime::Reflection* reflection = runtime::Runtime::GetInstance()->GetReflection();
  if (reflection == nullptr)
    return false;
  AddReflectedMethod<runtime::ReflectionStaticFuncType0<AvManagerImpl*>>(
      reflection, "GetInstance", kGetInstanceSignature, &AvManagerImpl::GetInstance);
  AddReflectedMethod<DeviceMethod>(reflection, "OnDiscovery", kDeviceMethodSignature,
                                   &AvManagerImpl::OnDiscovery);
  AddReflectedMethod<DeviceMethod>(reflection, "OnDeviceDisconnection", kDeviceMethodSignature,
                                   &AvManagerImpl::OnDeviceDisconnection);
  return true;
}

bool AvManagerImpl::UnRegisterMethod() {
  runtime::Reflection* reflection = runtime::Runtime::GetInstance()->GetReflection();
  if (reflection == nullptr)
    return false;
  RemoveReflectedMethod(reflection, "GetInstance", kGetInstanceSignature);
  RemoveReflectedMethod(reflection, "OnDiscovery", kDeviceMethodSignature);
  RemoveReflectedMethod(reflection, "OnDeviceDisconnection", kDeviceMethodSignature);
  return true;
}

bool AvManagerImpl::OnDiscovery(const std::string& device_id) {
  AV_LOG(logging::LOG_INFO) << "AvManagerImpl OnDiscovery()";
  auto* record = new device::_DeviceInfo;
  record->device_id = device_id;
  record->plugin_name = kPluginName;
  record->text_03 = "AV";
  record->text_04 = "AV";
  record->text_05 = "AV";
  record->discovery_datetime = GetCurrentDatetime();
  record->number_21 = 30;
  record->rdf_properties = MakePropertyJson(device_id);
  AV_LOG(logging::LOG_INFO) << "rdf_properties = " << record->rdf_properties;
  StoreDevice(device_id, record);

  evt::Event* event = evt::EventManager::GetInstance()->CreateEvent(evt::kEventDeviceDiscovered);
  if (event == nullptr)
    return false;
  return PublishDeviceEvent(__func__, event, {device_id, kPluginName}, device_id);
}

bool AvManagerImpl::OnDeviceDisconnection(const std::string& device_id) {
  AV_LOG(logging::LOG_INFO) << "AvManagerImpl::OnDeviceDisconnection";
  evt::Event* event = evt::EventManager::GetInstance()->CreateEvent(evt::kEventDeviceDisconnected);
  if (event == nullptr)
    return false;
  return PublishDeviceEvent(__func__, event, {device_id, kPluginName, GetCurrentDatetime()},
                            device_id);
}

std::string AvManagerImpl::GetCurrentDatetime() {
  base::Time::Exploded now{};
  base::Time::Now().Explode(true, &now);
  return base::StringPrintf("%04d-%02d-%02d %02d:%02d:%02d", now.year, now.month, now.day_of_month,
                            now.hour, now.minute, now.second);
}

void AvManagerImpl::StoreDevice(const std::string& device_id, device::_DeviceInfo* record) {
  std::lock_guard<std::mutex> lock(device_map_lock_);
  device::_DeviceInfo*& slot = device_map_[device_id];
  delete slot;
  slot = record;
}

}  // namespace plugin
