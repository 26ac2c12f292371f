// SIGINT and SIGTERM as a polite request to stop, for a command that waits without end:
// the handler only records the signal, and the command checks for it between waits.

#ifndef TOOLS_AVCTL_STOP_SIGNAL_H_
#define TOOLS_AVCTL_STOP_SIGNAL_H_

namespace avctl {

// Installs the handlers for SIGINT and SIGTERM. Waits that the signal interrupts are
// resumed by the caller, which then sees StopRequested().
void InstallStopHandlers();

// Whether SIGINT or SIGTERM has arrived since InstallStopHandlers().
bool StopRequested();

}  // namespace avctl

#endif  // TOOLS_AVCTL_STOP_SIGNAL_H_
