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

AvMsg_ServiceInvoke::AvMsg_ServiceInvoke(const std::string& method,
                                         const base::DictionaryValue& args,
                                         base::DictionaryValue* result,
                                         int* code)
    : TypedSyncMessage(MakeRefTuple(method, args), MakeRefTuple(*result, *code)) {}

AvMsg_GetDeviceProperty::AvMsg_GetDeviceProperty(const std::string& device_id,
                                                 device::_DeviceInfo* info,
                                                 bool* found)
    : TypedSyncMessage(MakeRefTuple(device_id), MakeRefTuple(*info, *found)) {}

AvMsg_RegisterDeviceRequest::AvMsg_RegisterDeviceRequest(const std::string& first,
                                                         const std::string& second,
                                                         const std::string& third,
                                                         bool* success)
    : TypedSyncMessage(MakeRefTuple(first, second, third), MakeRefTuple(*success)) {}

AvMsg_UnregisterDeviceRequest::AvMsg_UnregisterDeviceRequest(const std::string& first,
                                                             const std::string& second,
                                                             bool* success)
    : TypedSyncMessage(MakeRefTuple(first, second), MakeRefTuple(*success)) {}

AvMsg_ManualRescanDevices::AvMsg_ManualRescanDevices(bool* success)
    : TypedSyncMessage(MakeTuple(), MakeRefTuple(*success)) {}

AvMsg_DeleteDeviceRequest::AvMsg_DeleteDeviceRequest(bool* success)
    : TypedSyncMessage(MakeTuple(), MakeRefTuple(*success)) {}
