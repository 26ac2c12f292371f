#include "tools/avctl/link_commands.h"

#include "base/values.h"
#include "device/device_info.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "tools/avctl/command_context.h"
#include "tools/avctl/connection.h"
#include "tools/avctl/device_info_json.h"
#include "tools/avctl/value_json.h"

namespace avctl {

namespace {

const char kPeer[] = "the plugin";

// Connects to the plugin and exchanges |request| (takes ownership). False, with the reason
// written, when no reply came.
bool ExchangeWithPlugin(CommandContext* context, IPC::SyncMessage* request) {
  std::unique_ptr<IPC::SyncMessage> owned(request);
  Connection connection(context->options().socket_path, kPeer, context);
  return connection.Connect() && connection.Exchange(owned.release());
}

int ReplyOk(CommandContext* context, bool ok) {
  Json reply = Json::object();
  reply["ok"] = ok;
  return context->Reply(reply);
}

}  // namespace

int RunInvoke(CommandContext* context,
              const std::string& method,
              const base::DictionaryValue& arguments) {
  base::DictionaryValue result;
  int code = 0;
  if (!ExchangeWithPlugin(context, new AvMsg_ServiceInvoke(method, arguments, &result, &code)))
    return kExitFailure;
  Json reply = Json::object();
  reply["code"] = code;
  std::string error;
  if (!ValueToJson(result, &reply["result"], &error))
    return context->Fail("the reply's results cannot be shown as JSON: " + error);
  const int exit_code = context->Reply(reply);
  if (exit_code == kExitOk && code != 0 && context->options().fail_on_code)
    return context->Fail(method + " answered result code " + std::to_string(code));
  return exit_code;
}

int RunProperty(CommandContext* context, const std::string& device_id) {
  device::_DeviceInfo info;
  bool found = false;
  if (!ExchangeWithPlugin(context, new AvMsg_GetDeviceProperty(device_id, &info, &found)))
    return kExitFailure;
  Json reply = Json::object();
  reply["found"] = found;
  reply["device"] = DeviceInfoToJson(info);
  return context->Reply(reply);
}

int RunRegister(CommandContext* context,
                const std::string& first,
                const std::string& second,
                const std::string& third) {
  bool ok = false;
  if (!ExchangeWithPlugin(context, new AvMsg_RegisterDeviceRequest(first, second, third, &ok)))
    return kExitFailure;
  return ReplyOk(context, ok);
}

int RunUnregister(CommandContext* context, const std::string& first, const std::string& second) {
  bool ok = false;
  if (!ExchangeWithPlugin(context, new AvMsg_UnregisterDeviceRequest(first, second, &ok)))
    return kExitFailure;
  return ReplyOk(context, ok);
}

int RunRescan(CommandContext* context) {
  bool ok = false;
  if (!ExchangeWithPlugin(context, new AvMsg_ManualRescanDevices(&ok)))
    return kExitFailure;
  return ReplyOk(context, ok);
}

int RunDelete(CommandContext* context) {
  bool ok = false;
  if (!ExchangeWithPlugin(context, new AvMsg_DeleteDeviceRequest(&ok)))
    return kExitFailure;
  return ReplyOk(context, ok);
}

}  // namespace avctl
