#include "tools/cli/stop_signal.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cstring>

namespace tool_cli {

StopSignal::StopSignal() = default;

StopSignal::~StopSignal() {
  if (fd_ >= 0)
    close(fd_);
}

bool StopSignal::Init(std::string* error) {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGINT);
  sigaddset(&signals, SIGTERM);
  sigaddset(&signals, SIGHUP);
  const int result = pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  if (result != 0) {
    *error = std::string("cannot block the stop signals: ") + std::strerror(result);
    return false;
  }
  fd_ = signalfd(-1, &signals, SFD_CLOEXEC);
  if (fd_ < 0) {
    *error = std::string("cannot make a signalfd: ") + std::strerror(errno);
    return false;
  }
  return true;
}

bool StopSignal::Pending() const {
  pollfd entry = {fd_, POLLIN, 0};
  return poll(&entry, 1, 0) > 0 && (entry.revents & POLLIN) != 0;
}

int StopSignal::Wait() {
  signalfd_siginfo info;
  for (;;) {
    const ssize_t length = read(fd_, &info, sizeof(info));
    if (length == static_cast<ssize_t>(sizeof(info)))
      return static_cast<int>(info.ssi_signo);
    if (length < 0 && errno == EINTR)
      continue;
    return -1;
  }
}

}  // namespace tool_cli
