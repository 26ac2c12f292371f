#include "tools/control/control_messages.h"

namespace control {

const char* InvokeStatusText(int status) {
  switch (status) {
    case kInvokeOk:
      return "ok";
    case kInvokeNoSuchMethod:
      return "no such method is registered";
    case kInvokeBadSignature:
      return "the method does not take one string and answer a bool";
    case kInvokeNoInstance:
      return "the class has no GetInstance giving the object";
    case kInvokeBadRequest:
      return "the request was incomplete";
  }
  return "unknown status";
}

}  // namespace control

ControlMsg_InvokeMethod::ControlMsg_InvokeMethod(const std::string& component,
                                                 const std::string& class_name,
                                                 const std::string& method,
                                                 const std::string& argument,
                                                 int* status,
                                                 bool* result)
    : TypedSyncMessage(MakeTuple(), MakeRefTuple(*status, *result)) {
  base::DictionaryValue request;
  request.SetWithoutPathExpansion("component", base::Value::CreateStringValue(component));
  request.SetWithoutPathExpansion("class", base::Value::CreateStringValue(class_name));
  request.SetWithoutPathExpansion("method", base::Value::CreateStringValue(method));
  request.SetWithoutPathExpansion("argument", base::Value::CreateStringValue(argument));
  IPC::WriteParam(this, request);
}

ControlMsg_Subscribe::ControlMsg_Subscribe(int event_id, bool* subscribed)
    : TypedSyncMessage(MakeRefTuple(event_id), MakeRefTuple(*subscribed)) {}

ControlMsg_Status::ControlMsg_Status(base::DictionaryValue* status)
    : TypedSyncMessage(MakeTuple(), MakeRefTuple(*status)) {}

ControlMsg_Event::ControlMsg_Event(int event_id, const std::vector<std::string>& strings)
    : IPC::Message(control::kControlRoutingId, ID, PRIORITY_NORMAL) {
  base::ListValue list;
  for (const std::string& text : strings)
    list.Append(base::Value::CreateStringValue(text));
  IPC::WriteParam(this, event_id);
  IPC::WriteParam(this, list);
}

ControlMsg_Event::~ControlMsg_Event() = default;

// static
bool ControlMsg_Event::Read(const IPC::Message* msg,
                            int* event_id,
                            std::vector<std::string>* strings) {
  if (msg->type() != ID)
    return false;
  PickleIterator iter(*msg);
  base::ListValue list;
  if (!IPC::ReadParam(msg, &iter, event_id) || !IPC::ReadParam(msg, &iter, &list))
    return false;
  strings->clear();
  for (size_t i = 0; i < list.GetSize(); ++i) {
    std::string text;
    if (!list.GetString(i, &text))
      return false;
    strings->push_back(text);
  }
  return true;
}
