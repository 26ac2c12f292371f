#include "base/posix/unix_domain_socket.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <string>

#include "gtest/gtest.h"

namespace base {
namespace {

// A socket bound at |path| by other means than CreateListeningSocket, as by another process:
// listening (its descriptor is returned), or closed again, leaving a stale file (-1).
int BindElsewhere(const std::string& path, bool listening) {
  sockaddr_un address;
  socklen_t length;
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_TRUE(FillUnixAddress(path, &address, &length));
  EXPECT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&address), length));
  if (!listening || listen(fd, 8) != 0) {
    close(fd);
    fd = -1;
  }
  return fd;
}

TEST(UnixDomainSocketTest, WhatMayAlreadyBeAtTheSocketPath) {
  const mode_t old_umask = umask(0);  // a loose umask must not loosen the socket's mode
  int other_fd = -1;
  int own_fd = -1;
  SocketFileId own_file;
  const struct {
    const char* name;
    std::function<void(const std::string&)> prepare;
    const char* refusal;  // null when the new server listens
  } kCases[] = {
      {"nothing", [](const std::string&) {}, nullptr},
      {"stale socket", [](const std::string& path) { BindElsewhere(path, false); }, nullptr},
      {"a server of this process",
       [&](const std::string& path) {
         std::string error;
         own_fd = CreateListeningSocket(path, &own_file, &error);
         ASSERT_GE(own_fd, 0) << error;
       },
       nullptr},
      {"a live server of another process",
       [&](const std::string& path) { ASSERT_GE(other_fd = BindElsewhere(path, true), 0); },
       "Address already in use"},
      {"regular file", [](const std::string& path) { std::ofstream(path) << "keep me"; },
       "not a socket"},
      {"directory", [](const std::string& path) { ASSERT_EQ(0, mkdir(path.c_str(), 0700)); },
       "not a socket"},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    const std::string path = "/tmp/tarn-uds-" + std::to_string(getpid());
    test_case.prepare(path);
    EXPECT_EQ(other_fd >= 0, IsSocketServedElsewhere(path));
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
        EXPECT_EQ(0, access(path.c_str(), F_OK));
      }
      CloseListeningSocket(fd, path, file);
      EXPECT_NE(0, access(path.c_str(), F_OK));
    }
    if (other_fd >= 0)
      close(other_fd);
    other_fd = -1;
    unlink(path.c_str());
    rmdir(path.c_str());
  }
  umask(old_umask);
}

}  // namespace
}  // namespace base
