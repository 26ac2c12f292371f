// avctl's command line: the global options, the commands and their arguments, the help
// texts, and the dispatch to the command that was asked for.

#ifndef TOOLS_AVCTL_COMMAND_LINE_H_
#define TOOLS_AVCTL_COMMAND_LINE_H_

#include <ostream>

namespace avctl {

// Runs the command that |argv| names and returns avctl's exit code. Replies and help go to
// |out|, error messages to |err| (neither owned).
int RunCommandLine(int argc, const char* const* argv, std::ostream* out, std::ostream* err);

}  // namespace avctl

#endif  // TOOLS_AVCTL_COMMAND_LINE_H_
