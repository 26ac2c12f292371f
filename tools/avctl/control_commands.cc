#include "tools/avctl/control_commands.h"

#include "tools/avctl/command_context.h"
#include "tools/avctl/connection.h"
#include "tools/avctl/value_json.h"
#include "tools/control/control_messages.h"

namespace avctl {

namespace {

const char kComponent[] = "av_plugin";
const char kManagerClass[] = "AvManagerImpl";

int InvokeManagerMethod(CommandContext* context,
                        const std::string& method,
                        const std::string& device_id) {
  int status = control::kInvokeOk;
  bool result = false;
  Connection connection(context->options().control_path, "the host", context);
  if (!connection.Connect() ||
      !connection.Exchange(new ControlMsg_InvokeMethod(kComponent, kManagerClass, method, device_id,
                                                       &status, &result))) {
    return kExitFailure;
  }
  if (status != control::kInvokeOk) {
    return context->Fail("the host could not invoke " + std::string(kManagerClass) + "::" + method +
                         " of " + kComponent + ": " + control::InvokeStatusText(status) +
                         " (status " + std::to_string(status) + ")");
  }
  Json reply = Json::object();
  reply["ok"] = result;
  return context->Reply(reply);
}

}  // namespace

int RunDiscover(CommandContext* context, const std::string& device_id) {
  return InvokeManagerMethod(context, "OnDiscovery", device_id);
}

int RunDisconnect(CommandContext* context, const std::string& device_id) {
  return InvokeManagerMethod(context, "OnDeviceDisconnection", device_id);
}

}  // namespace avctl
