// The commands that talk to the plugin over its link (the socket of --socket), one per
// synchronous message of the plugin. Each connects, sends one request, prints the reply
// as one JSON line and returns the exit code.

#ifndef TOOLS_AVCTL_LINK_COMMANDS_H_
#define TOOLS_AVCTL_LINK_COMMANDS_H_

#include <string>

namespace base {
class DictionaryValue;
}

namespace avctl {

class CommandContext;

// {"code":0,"result":{...}}: the service method's result code and result dictionary.
int RunInvoke(CommandContext* context,
              const std::string& method,
              const base::DictionaryValue& arguments);

// {"found":true,"device":{...}}: the device record by field name, as received.
int RunProperty(CommandContext* context, const std::string& device_id);

// {"ok":true} or {"ok":false} for each of the device-management requests.
int RunRegister(CommandContext* context,
                const std::string& first,
                const std::string& second,
                const std::string& third);
int RunUnregister(CommandContext* context, const std::string& first, const std::string& second);
int RunRescan(CommandContext* context);
int RunDelete(CommandContext* context);

}  // namespace avctl

#endif  // TOOLS_AVCTL_LINK_COMMANDS_H_
