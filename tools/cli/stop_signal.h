// How the tools stop: on SIGINT, SIGTERM or SIGHUP, without a signal handler. The signals
// are blocked and read from a signalfd, so the stop is handled in the waiting thread like
// any other event.

#ifndef TOOLS_CLI_STOP_SIGNAL_H_
#define TOOLS_CLI_STOP_SIGNAL_H_

#include <string>

namespace tool_cli {

class StopSignal {
 public:
  StopSignal();
  // Closes the descriptor; the signals stay blocked.
  ~StopSignal();
  StopSignal(const StopSignal&) = delete;
  StopSignal& operator=(const StopSignal&) = delete;

  // Blocks SIGINT, SIGTERM and SIGHUP in the calling thread, and so in every thread it starts
  // afterwards, and opens the descriptor they are read from. Call before any other thread
  // is started, or a signal may go to a thread that does not block it. False, with
  // |*error| set, when the descriptor cannot be made.
  bool Init(std::string* error);

  // Whether one of the signals has arrived and waits to be taken, without waiting.
  bool Pending() const;

  // Waits for one of the signals, takes it and returns its number; -1 on a failure to wait.
  int Wait();

 private:
  int fd_ = -1;
};

}  // namespace tool_cli

#endif  // TOOLS_CLI_STOP_SIGNAL_H_
