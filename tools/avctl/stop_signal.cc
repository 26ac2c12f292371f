#include "tools/avctl/stop_signal.h"

#include <signal.h>

namespace avctl {

namespace {

volatile sig_atomic_t g_stop_requested = 0;

void OnStopSignal(int) {
  g_stop_requested = 1;
}

}  // namespace

void InstallStopHandlers() {
  struct sigaction action = {};
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

bool StopRequested() {
  return g_stop_requested != 0;
}

}  // namespace avctl
