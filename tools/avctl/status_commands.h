// The commands that ask tarn-host how it is: its figures (status), and whether it serves
// yet (wait), for scripts that start a host and must not race it.

#ifndef TOOLS_AVCTL_STATUS_COMMANDS_H_
#define TOOLS_AVCTL_STATUS_COMMANDS_H_

namespace avctl {

class CommandContext;

// Asks the host for its figures (ControlMsg_Status) and prints them as one line of JSON,
// or, with |human|, as a short table.
int RunStatus(CommandContext* context, bool human);

// Waits until both the plugin's link and the host's control channel answer and the host
// has at least |subscribers| clients subscribed to events, trying again until the
// time-out; prints {"ready":true}. Fails (exit 1) when the time-out passes first.
int RunWait(CommandContext* context, int subscribers);

}  // namespace avctl

#endif  // TOOLS_AVCTL_STATUS_COMMANDS_H_
