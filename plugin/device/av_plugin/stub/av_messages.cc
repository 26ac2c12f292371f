#include "plugin/device/av_plugin/stub/av_messages.h"

#include <cstddef>

namespace {

// The string fields that travel, in wire order: all but text_19.
std::string device::_DeviceInfo::*const kCarriedTextFields[] = {
    &device::_DeviceInfo::device_id, &device::_DeviceInfo::plugin_name,
    &device::_DeviceInfo::text_03,   &device::_DeviceInfo::text_04,
    &device::_DeviceInfo::text_05,   &device::_DeviceInfo::text_06,
    &device::_DeviceInfo::text_07,   &device::_DeviceInfo::discovery_datetime,
    &device::_DeviceInfo::text_09,   &device::_DeviceInfo::text_10,
    &device::_DeviceInfo::text_11,   &device::_DeviceInfo::text_12,
    &device::_DeviceInfo::text_13,   &device::_DeviceInfo::text_14,
    &device::_DeviceInfo::text_15,   &device::_DeviceInfo::text_16,
    &device::_DeviceInfo::text_17,   &device::_DeviceInfo::text_18,
    &device::_DeviceInfo::text_20,
};

const char kRecordFieldSeparator[] = "\n\t ";

// Names |msg| and, when it decodes, appends its request or reply rendering to |l|.
template <class Msg>
void LogAvMessage(const char* class_name,
                  std::string* name,
                  const IPC::Message* msg,
                  std::string* l) {
  if (name)
    *name = class_name;
  if (!msg || !l)
    return;
  if (msg->is_sync()) {
    typename Msg::SendParam p;
    if (Msg::ReadSendParam(msg, &p))
      IPC::LogParam(p, l);
  } else {
    typename Msg::ReplyParam p;
    if (Msg::ReadReplyParam(msg, &p))
      IPC::LogParam(p, l);
  }
}

}  // namespace

namespace IPC {

void ParamTraits<device::_DeviceInfo>::Write(Message* m, const param_type& p) {
  for (auto field : kCarriedTextFields)
    m->WriteString(p.*field);
  const uint16_t number = p.number_21;
  m->WriteBytes(&number, sizeof(number));
  m->WriteString(p.rdf_properties);
}

bool ParamTraits<device::_DeviceInfo>::Read(const Message* m, PickleIterator* iter, param_type* p) {
  for (auto field : kCarriedTextFields) {
    if (!iter->ReadString(&(p->*field))) {
      p->number_21 = 0;
      return false;
    }
  }
  uint16_t number;
  if (!iter->ReadUInt16(&number)) {
    p->number_21 = 0;
    return false;
  }
  p->number_21 = static_cast<uint8_t>(number & 0xFF);
  return iter->ReadString(&p->rdf_properties);
}

void ParamTraits<device::_DeviceInfo>::Log(const param_type& p, std::string* l) {
  l->append("device::DeviceInfo: {");
  for (auto field : kCarriedTextFields) {
    l->append(kRecordFieldSeparator);
    l->append(p.*field);
  }
  l->append(kRecordFieldSeparator);
  l->append(std::to_string(p.number_21));
  l->append(kRecordFieldSeparator);
  l->append(p.rdf_properties);
  l->append("}");
}

}  // namespace IPC

void AvReplyWriter::Write(IPC::Message* m, const base::DictionaryValue& p) {
  IPC::WriteParam(m, p);
}

void AvReplyWriter::Write(IPC::Message* m, const device::_DeviceInfo& p) {
  IPC::WriteParam(m, p);
}

void AvReplyWriter::Write(IPC::Message* m, int p) {
  m->WriteBytes(&p, sizeof(p));
}

void AvReplyWriter::Write(IPC::Message* m, bool p) {
  m->WriteBytes(&p, 1);
}

// AvMsg_ServiceInvoke ---------------------------------------------------------------

AvMsg_ServiceInvoke::AvMsg_ServiceInvoke(const std::string& method,
                                         const base::DictionaryValue& args,
                                         base::DictionaryValue* result,
                                         int* code)
    : IPC::SyncMessage(kAvMsgRoutingId,
                       ID,
                       PRIORITY_NORMAL,
                       new IPC::ParamDeserializer<Tuple2<base::DictionaryValue&, int&>>(
                           MakeRefTuple(*result, *code))) {
  IPC::WriteParam(this, method);
  IPC::WriteParam(this, args);
}

AvMsg_ServiceInvoke::~AvMsg_ServiceInvoke() = default;

bool AvMsg_ServiceInvoke::ReadSendParam(const IPC::Message* msg, SendParam* p) {
  return Schema::ReadSendParam(msg, p);
}

bool AvMsg_ServiceInvoke::ReadReplyParam(const IPC::Message* msg, ReplyParam* p) {
  return Schema::ReadReplyParam(msg, p);
}

void AvMsg_ServiceInvoke::Log(std::string* name, const IPC::Message* msg, std::string* l) {
  LogAvMessage<AvMsg_ServiceInvoke>("AvMsg_ServiceInvoke", name, msg, l);
}

// AvMsg_GetDeviceProperty -----------------------------------------------------------

AvMsg_GetDeviceProperty::AvMsg_GetDeviceProperty(const std::string& device_id,
                                                 device::_DeviceInfo* info,
                                                 bool* found)
    : IPC::SyncMessage(kAvMsgRoutingId,
                       ID,
                       PRIORITY_NORMAL,
                       new IPC::ParamDeserializer<Tuple2<device::_DeviceInfo&, bool&>>(
                           MakeRefTuple(*info, *found))) {
  IPC::WriteParam(this, device_id);
}

AvMsg_GetDeviceProperty::~AvMsg_GetDeviceProperty() = default;

bool AvMsg_GetDeviceProperty::ReadSendParam(const IPC::Message* msg, SendParam* p) {
  return Schema::ReadSendParam(msg, p);
}

bool AvMsg_GetDeviceProperty::ReadReplyParam(const IPC::Message* msg, ReplyParam* p) {
  return Schema::ReadReplyParam(msg, p);
}

void AvMsg_GetDeviceProperty::Log(std::string* name, const IPC::Message* msg, std::string* l) {
  LogAvMessage<AvMsg_GetDeviceProperty>("AvMsg_GetDeviceProperty", name, msg, l);
}

// AvMsg_RegisterDeviceRequest -------------------------------------------------------

AvMsg_RegisterDeviceRequest::AvMsg_RegisterDeviceRequest(const std::string& first,
                                                         const std::string& second,
                                                         const std::string& third,
                                                         bool* success)
    : IPC::SyncMessage(kAvMsgRoutingId,
                       ID,
                       PRIORITY_NORMAL,
                       new IPC::ParamDeserializer<Tuple1<bool&>>(MakeRefTuple(*success))) {
  IPC::WriteParam(this, first);
  IPC::WriteParam(this, second);
  IPC::WriteParam(this, third);
}

AvMsg_RegisterDeviceRequest::~AvMsg_RegisterDeviceRequest() = default;

bool AvMsg_RegisterDeviceRequest::ReadSendParam(const IPC::Message* msg, SendParam* p) {
  return Schema::ReadSendParam(msg, p);
}

bool AvMsg_RegisterDeviceRequest::ReadReplyParam(const IPC::Message* msg, ReplyParam* p) {
  return Schema::ReadReplyParam(msg, p);
}

void AvMsg_RegisterDeviceRequest::Log(std::string* name, const IPC::Message* msg, std::string* l) {
  LogAvMessage<AvMsg_RegisterDeviceRequest>("AvMsg_RegisterDeviceRequest", name, msg, l);
}

// AvMsg_UnregisterDeviceRequest -----------------------------------------------------

AvMsg_UnregisterDeviceRequest::AvMsg_UnregisterDeviceRequest(const std::string& first,
                                                             const std::string& second,
                                                             bool* success)
    : IPC::SyncMessage(kAvMsgRoutingId,
                       ID,
                       PRIORITY_NORMAL,
                       new IPC::ParamDeserializer<Tuple1<bool&>>(MakeRefTuple(*success))) {
  IPC::WriteParam(this, first);
  IPC::WriteParam(this, second);
}

AvMsg_UnregisterDeviceRequest::~AvMsg_UnregisterDeviceRequest() = default;

bool AvMsg_UnregisterDeviceRequest::ReadSendParam(const IPC::Message* msg, SendParam* p) {
  return Schema::ReadSendParam(msg, p);
}

bool AvMsg_UnregisterDeviceRequest::ReadReplyParam(const IPC::Message* msg, ReplyParam* p) {
  return Schema::ReadReplyParam(msg, p);
}

void AvMsg_UnregisterDeviceRequest::Log(std::string* name,
                                        const IPC::Message* msg,
                                        std::string* l) {
  LogAvMessage<AvMsg_UnregisterDeviceRequest>("AvMsg_UnregisterDeviceRequest", name, msg, l);
}

// AvMsg_ManualRescanDevices ---------------------------------------------------------

AvMsg_ManualRescanDevices::AvMsg_ManualRescanDevices(bool* success)
    : IPC::SyncMessage(kAvMsgRoutingId,
                       ID,
                       PRIORITY_NORMAL,
                       new IPC::ParamDeserializer<Tuple1<bool&>>(MakeRefTuple(*success))) {}

AvMsg_ManualRescanDevices::~AvMsg_ManualRescanDevices() = default;

bool AvMsg_ManualRescanDevices::ReadSendParam(const IPC::Message* msg, SendParam* p) {
  return Schema::ReadSendParam(msg, p);
}

bool AvMsg_ManualRescanDevices::ReadReplyParam(const IPC::Message* msg, ReplyParam* p) {
  return Schema::ReadReplyParam(msg, p);
}

void AvMsg_ManualRescanDevices::Log(std::string* name, const IPC::Message* msg, std::string* l) {
  LogAvMessage<AvMsg_ManualRescanDevices>("AvMsg_ManualRescanDevices", name, msg, l);
}

// AvMsg_DeleteDeviceRequest ---------------------------------------------------------

AvMsg_DeleteDeviceRequest::AvMsg_DeleteDeviceRequest(bool* success)
    : IPC::SyncMessage(kAvMsgRoutingId,
                       ID,
                       PRIORITY_NORMAL,
                       new IPC::ParamDeserializer<Tuple1<bool&>>(MakeRefTuple(*success))) {}

AvMsg_DeleteDeviceRequest::~AvMsg_DeleteDeviceRequest() = default;

bool AvMsg_DeleteDeviceRequest::ReadSendParam(const IPC::Message* msg, SendParam* p) {
  return Schema::ReadSendParam(msg, p);
}

bool AvMsg_DeleteDeviceRequest::ReadReplyParam(const IPC::Message* msg, ReplyParam* p) {
  return Schema::ReadReplyParam(msg, p);
}

void AvMsg_DeleteDeviceRequest::Log(std::string* name, const IPC::Message* msg, std::string* l) {
  LogAvMessage<AvMsg_DeleteDeviceRequest>("AvMsg_DeleteDeviceRequest", name, msg, l);
}
