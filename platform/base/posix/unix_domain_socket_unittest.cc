#include "base/posix/unix_domain_socket.h"

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <string>

#include "gtest/gtest.h"

namespace base {
namespace {

std::string NewPath(const std::string& name) {
  return "/tmp/tarn-uds-" + std::to_string(getpid()) + "-" + name;
}

bool Exists(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) == 0;
}

// A server in a child process, listening at a path until the test ends it.
class OtherProcessServer {
 public:
  explicit OtherProcessServer(const std::string& path) {
    int ready[2];
    if (pipe(ready) != 0)
      return;
    pid_ = fork();
    if (pid_ == 0) {
      close(ready[0]);
      sockaddr_un address;
      socklen_t length;
      const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
      if (FillUnixAddress(path, &address, &length) &&
          bind(fd, reinterpret_cast<sockaddr*>(&address), length) == 0 && listen(fd, 4) == 0) {
        const char byte = 1;
        (void)!write(ready[1], &byte, 1);
      }
      pause();
      _exit(0);
    }
    close(ready[1]);
    char byte = 0;
    listening_ = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
  }
  ~OtherProcessServer() {
    if (pid_ > 0) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
  }
  bool listening() const { return listening_; }

 private:
  pid_t pid_ = -1;
  bool listening_ = false;
};

TEST(UnixDomainSocketTest, WhatMayAlreadyBeAtTheSocketPath) {
  const mode_t old_umask = umask(0);  // a loose umask must not loosen the socket's mode
  std::unique_ptr<OtherProcessServer> other;
  int own_fd = -1;
  SocketFileId own_file;
  const struct {
    const char* name;
    std::function<void(const std::string&)> prepare;
    bool served_elsewhere;
    const char* refusal;  // null when the new server listens
  } kCases[] = {
      {"nothing", [](const std::string&) {}, false, nullptr},
      {"stale socket",
       [](const std::string& path) {
         OtherProcessServer gone(path);
         ASSERT_TRUE(gone.listening());
       },
       false, nullptr},
      {"a server of this process",
       [&](const std::string& path) {
         std::string error;
         own_fd = CreateListeningSocket(path, &own_file, &error);
         ASSERT_GE(own_fd, 0) << error;
       },
       false, nullptr},
      {"a live server of another process",
       [&](const std::string& path) {
         other = std::make_unique<OtherProcessServer>(path);
         ASSERT_TRUE(other->listening());
       },
       true, "Address already in use"},
      {"regular file", [](const std::string& path) { std::ofstream(path) << "keep me"; }, false,
       "not a socket"},
      {"directory", [](const std::string& path) { ASSERT_EQ(0, mkdir(path.c_str(), 0700)); }, false,
       "not a socket"},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    const std::string path = NewPath("policy");
    test_case.prepare(path);
    EXPECT_EQ(test_case.served_elsewhere, IsSocketServedElsewhere(path));
    std::string check_error;
    EXPECT_EQ(test_case.refusal == nullptr, CheckListeningPath(path, &check_error));
    struct stat before = {};
    lstat(path.c_str(), &before);
    SocketFileId file;
    std::string error;
    const int fd = CreateListeningSocket(path, &file, &error);
    struct stat after;
    ASSERT_EQ(0, lstat(path.c_str(), &after));
    if (test_case.refusal) {
      EXPECT_LT(fd, 0);
      EXPECT_EQ(path + ": " + test_case.refusal, error.substr(0, error.find(" (")));
      // Whatever was there is untouched, and a live server still serves.
      EXPECT_EQ(before.st_ino, after.st_ino);
      const int probe = ConnectUnixSocket(path);
      EXPECT_EQ(S_ISSOCK(after.st_mode), probe >= 0);
      if (probe >= 0)
        close(probe);
    } else {
      ASSERT_GE(fd, 0) << error;
      EXPECT_TRUE(S_ISSOCK(after.st_mode));
      EXPECT_EQ(0600u, after.st_mode & 0777);
      // A server that was taken over leaves its successor's file when it closes.
      if (own_fd >= 0) {
        CloseListeningSocket(own_fd, path, own_file);
        own_fd = -1;
        EXPECT_TRUE(Exists(path));
      }
      CloseListeningSocket(fd, path, file);
      EXPECT_FALSE(Exists(path));
    }
    other.reset();
    unlink(path.c_str());
    rmdir(path.c_str());
  }
  umask(old_umask);
  const struct {
    std::string path;
    std::string error;
  } kUnusable[] = {
      {std::string(120, 'x'), "not a usable socket path: \"" + std::string(120, 'x') + "\""},
      {"/tmp/tarn-no-such-folder/s",
       "/tmp/tarn-no-such-folder/s: the folder "
       "/tmp/tarn-no-such-folder does not exist"},
  };
  for (const auto& unusable : kUnusable) {
    std::string error;
    EXPECT_FALSE(CheckListeningPath(unusable.path, &error));
    EXPECT_EQ(unusable.error, error);
    SocketFileId file;
    EXPECT_LT(CreateListeningSocket(unusable.path, &file, &error), 0);
  }
}

}  // namespace
}  // namespace base
