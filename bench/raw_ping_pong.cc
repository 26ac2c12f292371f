#include "bench/raw_ping_pong.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

const size_t kMaxMessageSize = 256;

bool WriteFully(int fd, const char* data, size_t size) {
  while (size > 0) {
    const ssize_t count = write(fd, data, size);
    if (count <= 0)
      return false;
    data += count;
    size -= static_cast<size_t>(count);
  }
  return true;
}

bool ReadFully(int fd, char* data, size_t size) {
  while (size > 0) {
    const ssize_t count = read(fd, data, size);
    if (count <= 0)
      return false;
    data += count;
    size -= static_cast<size_t>(count);
  }
  return true;
}

}  // namespace

void RunRawUnixSocketPingPong(benchmark::State& state, size_t message_size) {
  int fds[2];
  if (message_size > kMaxMessageSize || socketpair(AF_UNIX, SOCK_STREAM, 0, fds) != 0) {
    state.SkipWithError("cannot set the ping-pong up");
    return;
  }
  const pid_t child = fork();
  if (child == 0) {
    close(fds[0]);
    char buffer[kMaxMessageSize];
    while (ReadFully(fds[1], buffer, message_size) && WriteFully(fds[1], buffer, message_size)) {
    }
    _exit(0);
  }
  close(fds[1]);
  char request[kMaxMessageSize] = {7};
  char reply[kMaxMessageSize];
  for (auto _ : state) {
    if (!WriteFully(fds[0], request, message_size) || !ReadFully(fds[0], reply, message_size)) {
      state.SkipWithError("the echo process failed");
      break;
    }
  }
  close(fds[0]);
  int status = 0;
  waitpid(child, &status, 0);
}

}  // namespace bench
