#include "base/test/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

extern char** environ;

namespace base {
namespace test {

typedef std::chrono::steady_clock Clock;

ChildProcess::~ChildProcess() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  if (stdout_fd_ >= 0)
    close(stdout_fd_);
}

bool ChildProcess::Start(const std::string& program,
                         const std::vector<std::string>& arguments,
                         const std::string& stderr_path) {
  if (pid_ > 0)
    return false;
  // Under a cross build's emulator the program runs through the emulator command.
  const char* emulator = std::getenv("TARN_TEST_EMULATOR");
  std::istringstream stream(emulator ? emulator : "");
  std::vector<std::string> words;
  for (std::string word; stream >> word;)
    words.push_back(word);
  words.push_back(program);
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words)
    argv.push_back(&word[0]);
  argv.push_back(nullptr);

  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0)
    return false;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO,
                                   stderr_path.empty() ? "/dev/null" : stderr_path.c_str(),
                                   O_WRONLY | O_CREAT | O_TRUNC, 0600);
  const int error = posix_spawn(&pid_, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(fds[1]);
  if (error != 0) {
    pid_ = -1;
    close(fds[0]);
    return false;
  }
  stdout_fd_ = fds[0];
  return true;
}

bool ChildProcess::ReadMore(Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
  pollfd poll_fd{stdout_fd_, POLLIN, 0};
  if (stdout_fd_ < 0 || poll(&poll_fd, 1, std::max(0, static_cast<int>(left.count()))) <= 0)
    return false;
  char buffer[4096];
  const ssize_t count = read(stdout_fd_, buffer, sizeof(buffer));
  if (count > 0)
    buffered_.append(buffer, static_cast<size_t>(count));
  return count > 0;
}

bool ChildProcess::ReadLine(std::chrono::milliseconds timeout, std::string* line) {
  const Clock::time_point deadline = Clock::now() + timeout;
  size_t end;
  while ((end = buffered_.find('\n')) == std::string::npos) {
    if (!ReadMore(deadline))
      return false;
  }
  *line = buffered_.substr(0, end);
  buffered_.erase(0, end + 1);
  return true;
}

std::string ChildProcess::ReadRest(std::chrono::milliseconds timeout) {
  const Clock::time_point deadline = Clock::now() + timeout;
  while (ReadMore(deadline)) {
  }
  std::string rest;
  rest.swap(buffered_);
  return rest;
}

bool ChildProcess::Signal(int signal_number) {
  return pid_ > 0 && kill(pid_, signal_number) == 0;
}

int ChildProcess::Wait(std::chrono::milliseconds timeout) {
  // A pidfd becomes readable when the child ends; the child is not reaped until then.
  const int pidfd = pid_ > 0 ? static_cast<int>(syscall(SYS_pidfd_open, pid_, 0)) : -1;
  pollfd poll_fd{pidfd, POLLIN, 0};
  const bool ended = pidfd >= 0 && poll(&poll_fd, 1, static_cast<int>(timeout.count())) == 1;
  if (pidfd >= 0)
    close(pidfd);
  int status = 0;
  if (!ended || waitpid(pid_, &status, 0) != pid_)
    return -1;
  pid_ = -1;
  if (WIFEXITED(status))
    return WEXITSTATUS(status);
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : -1;
}

}  // namespace test
}  // namespace base
