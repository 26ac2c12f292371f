// Waits for SIGINT, SIGTERM or SIGHUP without a signal handler: the signals are blocked and
// read from a signalfd, so the stop is handled in the waiting thread like any other event.

#ifndef TOOLS_TARN_HOST_STOP_SIGNAL_H_
#define TOOLS_TARN_HOST_STOP_SIGNAL_H_

#include <string>

namespace tarn_host {

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

  // Waits for one of the signals and returns its number; -1 on a failure to wait.
  int Wait();

 private:
  int fd_ = -1;
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_STOP_SIGNAL_H_
