// What every avctl command works with: the global options, and the two streams it writes
// to -- replies as JSON lines on one, error messages on the other.

#ifndef TOOLS_AVCTL_COMMAND_CONTEXT_H_
#define TOOLS_AVCTL_COMMAND_CONTEXT_H_

#include <chrono>
#include <ostream>
#include <string>

#include "tools/avctl/value_json.h"

namespace avctl {

// avctl's exit codes, the same policy as tarn-host's and tarn-cec-sim's: 0 done, 1 failed
// at run time, 2 a usage error.
enum ExitCode {
  kExitOk = 0,       // a reply came (whatever it says)
  kExitUsage = 2,    // the command line is wrong
  kExitFailure = 1,  // no connection, no reply in time, or an error reply
};

const int kDefaultTimeoutMs = 10000;

struct GlobalOptions {
  std::string socket_path;   // the plugin's link
  std::string control_path;  // the host's control channel
  int timeout_ms = kDefaultTimeoutMs;
  bool pretty = false;        // indented JSON instead of one line per reply
  bool fail_on_code = false;  // a method's non-zero result code makes the exit code 1
};

class CommandContext {
 public:
  // |out| and |err| are not owned and must outlive the context.
  CommandContext(const GlobalOptions& options, std::ostream* out, std::ostream* err);
  CommandContext(const CommandContext&) = delete;
  CommandContext& operator=(const CommandContext&) = delete;

  const GlobalOptions& options() const { return options_; }
  std::chrono::milliseconds timeout() const {
    return std::chrono::milliseconds(options_.timeout_ms);
  }

  // Writes |json| as one line and flushes it. False when the stream no longer takes output.
  bool Print(const Json& json);

  // Prints |json| as the command's reply: kExitOk, or kExitFailure with a message when it
  // cannot be written.
  int Reply(const Json& json);

  // Writes |text| as it stands on the output stream: kExitOk, or kExitFailure with a
  // message when it cannot be written.
  int PrintText(const std::string& text);

  // Writes "avctl: " and |message| as one line on the error stream and returns
  // kExitFailure.
  int Fail(const std::string& message);

  // Writes "avctl: " and |message| as one line on the error stream: news for a person or
  // a script watching it, not a failure.
  void Note(const std::string& message);

 private:
  const GlobalOptions options_;
  std::ostream* const out_;  // not owned
  std::ostream* const err_;  // not owned
};

}  // namespace avctl

#endif  // TOOLS_AVCTL_COMMAND_CONTEXT_H_
