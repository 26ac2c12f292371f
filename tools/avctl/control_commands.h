// The commands that talk to tarn-host over its control channel (the socket of --control):
// the platform's calls that announce a device's discovery and disconnection to the plugin.

#ifndef TOOLS_AVCTL_CONTROL_COMMANDS_H_
#define TOOLS_AVCTL_CONTROL_COMMANDS_H_

#include <string>

namespace avctl {

class CommandContext;

// Invokes "OnDiscovery" of "AvManagerImpl" in "av_plugin" with |device_id| and prints
// {"ok":true} or {"ok":false}, the method's result. A host that cannot invoke the method
// is a failure.
int RunDiscover(CommandContext* context, const std::string& device_id);

// The same with "OnDeviceDisconnection".
int RunDisconnect(CommandContext* context, const std::string& device_id);

}  // namespace avctl

#endif  // TOOLS_AVCTL_CONTROL_COMMANDS_H_
