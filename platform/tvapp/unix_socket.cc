#include "tvapp/unix_socket.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

namespace ORVELL0300 {
namespace internal {

namespace {

// Waits until |fd| is ready for |events| or |deadline| passes. False on time-out or error.
bool WaitFor(int fd, short events, Deadline deadline) {
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() < 0)
      return false;
    pollfd entry = {fd, events, 0};
    // Round up so that a wait of less than a millisecond does not spin.
    const int result = poll(&entry, 1, static_cast<int>(left.count()) + 1);
    if (result > 0)
      return true;
    if (result < 0 && errno != EINTR)
      return false;
  }
}

}  // namespace

bool WriteAll(int fd, const std::string& data, Deadline deadline) {
  size_t written = 0;
  while (written < data.size()) {
    const ssize_t result = send(fd, data.data() + written, data.size() - written, MSG_NOSIGNAL);
    if (result > 0) {
      written += static_cast<size_t>(result);
      continue;
    }
    if (result < 0 && errno == EINTR)
      continue;
    if (result < 0 && (errno == EAGAIN || errno == EWOULDBLOCK) && WaitFor(fd, POLLOUT, deadline))
      continue;
    return false;
  }
  return true;
}

long ReadSome(int fd, char* buffer, size_t size, Deadline deadline) {
  for (;;) {
    const ssize_t result = read(fd, buffer, size);
    if (result >= 0)
      return static_cast<long>(result);
    if (errno == EINTR)
      continue;
    if ((errno == EAGAIN || errno == EWOULDBLOCK) && WaitFor(fd, POLLIN, deadline))
      continue;
    return -1;
  }
}

void CloseFd(int* fd) {
  if (*fd >= 0)
    close(*fd);
  *fd = -1;
}

}  // namespace internal
}  // namespace ORVELL0300
