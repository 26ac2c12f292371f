#include "plugin/device/av_plugin/stub/av_stub.h"

#include "base/logging.h"
#include "base/tracked_objects.h"
#include "base/values.h"
#include "device/device_info.h"
#include "plugin/device/av_plugin/av_manager_impl.h"
#include "plugin/device/av_plugin/av_service.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "runtime/runtime.h"

namespace plugin {

namespace {

// The profile scopes name this file as their source.
const char kStubSource[] = "plugin/device/av_plugin/stub/av_stub";

typedef int (AvService::*ServiceMethod)(const base::DictionaryValue&, base::DictionaryValue*);

struct ServiceEntry {
  const char* name;
  ServiceMethod method;
};

// Compared in this order; the first equal name wins.
const ServiceEntry kServiceMethods[] = {
    {"SetSpeakerVolume", &AvService::SetSpeakerVolume},
    {"GetPowerState", &AvService::GetPowerState},
    {"SetPowerState", &AvService::SetPowerState},
    {"GetSpeakerVolume", &AvService::GetSpeakerVolume},
    {"SetMicVolume", &AvService::SetMicVolume},
    {"GetMicVolume", &AvService::GetMicVolume},
    {"SetSoundMuteState", &AvService::SetSoundMuteState},
    {"GetSoundMuteState", &AvService::GetSoundMuteState},
    {"SetMicPower", &AvService::SetMicPower},
    {"GetMicPower", &AvService::GetMicPower},
    {"SetSoundMode", &AvService::SetSoundMode},
    {"GetSoundMode", &AvService::GetSoundMode},
    {"GetDeviceResources", &AvService::GetDeviceResources},
};

}  // namespace

std::vector<AvStub*> AvStub::stubs_;

AvStub::AvStub(const std::string& channel_name,
               IPC::Channel::Mode mode,
               base::Thread* first_thread,
               base::Thread* second_thread)
    : runtime::ComponentStub(channel_name, mode, first_thread, second_thread, nullptr) {}

AvStub::~AvStub() = default;

// static
bool AvStub::InitDefault(runtime::Runtime*) {
  return true;
}

// static
bool AvStub::OpenLink(std::string channel_name, IPC::Channel::Mode mode) {
  base::Thread* first_thread = runtime::Runtime::GetInstance()->GetThread(1);
  base::Thread* second_thread = runtime::Runtime::GetInstance()->GetThread(0);
  auto* stub = new AvStub(channel_name, mode, first_thread, second_thread);
  if (stub->runtime::ComponentStub::Init()) {
    stubs_.push_back(stub);
    return true;
  }
  delete stub;
  LOG_AT(logging::LOG_ERROR) << "Failed in AvStub::OpenLink()";
  return false;
}

// static
bool AvStub::DestroyDefault() {
  for (size_t i = 0; i < stubs_.size(); ++i) {
    if (stubs_[i] != nullptr) {
      delete stubs_[i];
      stubs_[i] = nullptr;
    }
  }
  stubs_.clear();
  return true;
}

bool AvStub::SyncMessageHandler(const IPC::Message& message) {
  switch (message.type()) {
    case AvMsg_ServiceInvoke::ID:
      Dispatch<AvMsg_ServiceInvoke>(message, "_IpcMessageHandlerClass::OnAvServiceInvokeMethod",
                                    __LINE__, &AvStub::OnServiceInvoke);
      return true;
    case AvMsg_GetDeviceProperty::ID:
      Dispatch<AvMsg_GetDeviceProperty>(message, "_IpcMessageHandlerClass::OnGetDeviceProperty",
                                        __LINE__, &AvStub::OnGetDeviceProperty);
      return true;
    case AvMsg_RegisterDeviceRequest::ID:
      Dispatch<AvMsg_RegisterDeviceRequest>(message,
                                            "_IpcMessageHandlerClass::OnRegisterDeviceRequest",
                                            __LINE__, &AvStub::OnRegisterDeviceRequest);
      return true;
    case AvMsg_UnregisterDeviceRequest::ID:
      Dispatch<AvMsg_UnregisterDeviceRequest>(message,
                                              "_IpcMessageHandlerClass::OnUnregisterDeviceRequest",
                                              __LINE__, &AvStub::OnUnregisterDeviceRequest);
      return true;
    case AvMsg_ManualRescanDevices::ID:
      Dispatch<AvMsg_ManualRescanDevices>(message, "_IpcMessageHandlerClass::OnManualRescanDevices",
                                          __LINE__, &AvStub::OnManualRescanDevices);
      return true;
    case AvMsg_DeleteDeviceRequest::ID:
      Dispatch<AvMsg_DeleteDeviceRequest>(message, "_IpcMessageHandlerClass::OnDeleteDeviceRequest",
                                          __LINE__, &AvStub::OnDeleteDeviceRequest);
      return true;
    default:
      return false;
  }
}

bool AvStub::ASyncMessageHandler(const IPC::Message&) {
  return false;
}

template <class Msg, class Handler>
void AvStub::Dispatch(const IPC::Message& message,
                      const char* profile_name,
                      int line,
                      Handler handler) {
  tracked_objects::ScopedProfile profile(tracked_objects::Location(
      profile_name, kStubSource, line, tracked_objects::GetProgramCounter()));
  Msg::Schema::Dispatch(&message, this, this, handler);
}

void AvStub::OnServiceInvoke(const std::string& method_name,
                             const base::DictionaryValue& arguments,
                             base::DictionaryValue* results,
                             int* result_code) {
  *result_code = kAvResultUnknownMethod;
  OnAvServiceInvokeMethod(method_name, arguments, results, result_code);
}

void AvStub::OnAvServiceInvokeMethod(const std::string& method_name,
                                     const base::DictionaryValue& arguments,
                                     base::DictionaryValue* results,
                                     int* result_code) {
  for (const ServiceEntry& entry : kServiceMethods) {
    if (method_name == entry.name) {
      *result_code = (AvService::GetInstance()->*entry.method)(arguments, results);
      return;
    }
  }
}

void AvStub::OnGetDeviceProperty(const std::string& device_id,
                                 device::_DeviceInfo* info,
                                 bool* ok) {
  DevicePluginManagerItf* manager = AvManagerImpl::GetInstance();
  *ok = manager->GetDeviceProperty(device_id, info);
}

void AvStub::OnRegisterDeviceRequest(const std::string& a,
                                     const std::string& b,
                                     const std::string& c,
                                     bool* ok) {
  DevicePluginManagerItf* manager = AvManagerImpl::GetInstance();
  *ok = manager->RegisterDeviceRequest(a, b, c);
}

void AvStub::OnUnregisterDeviceRequest(const std::string& a, const std::string& b, bool* ok) {
  DevicePluginManagerItf* manager = AvManagerImpl::GetInstance();
  *ok = manager->UnregisterDeviceRequest(a, b);
}

void AvStub::OnManualRescanDevices(bool* ok) {
  DevicePluginManagerItf* manager = AvManagerImpl::GetInstance();
  *ok = manager->ManualRescanDevices();
}

void AvStub::OnDeleteDeviceRequest(bool* ok) {
  *ok = true;
}

}  // namespace plugin
