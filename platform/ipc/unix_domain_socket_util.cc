#include "ipc/unix_domain_socket_util.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "base/logging.h"

namespace IPC {

namespace {

// Room for connections that wait until the server accepts them.
const int kListenBacklog = 16;

// The socket file's mode: the owner alone may connect.
const mode_t kSocketFileMode = 0600;

// Makes room for a new socket file at |path|: false when something other than a socket is
// there.
bool ClearSocketPath(const std::string& path) {
  struct stat existing;
  if (lstat(path.c_str(), &existing) != 0)
    return true;
  if (!S_ISSOCK(existing.st_mode)) {
    LOG_AT(logging::LOG_ERROR) << "not replacing " << path << ": not a socket";
    return false;
  }
  // Left by a server that is gone, or held by one still running: either way the newest
  // server takes the path over.
  if (unlink(path.c_str()) != 0 && errno != ENOENT) {
    LOG_AT(logging::LOG_ERROR) << "cannot replace the socket " << path << ": "
                               << std::strerror(errno);
    return false;
  }
  return true;
}

}  // namespace

bool FillSocketAddress(const std::string& path, sockaddr_un* address, socklen_t* length) {
  if (path.empty() || path.size() >= sizeof(address->sun_path))
    return false;
  std::memset(address, 0, sizeof(*address));
  address->sun_family = AF_UNIX;
  std::memcpy(address->sun_path, path.data(), path.size());
  *length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + 1);
  return true;
}

int CreateListeningSocket(const std::string& path, SocketFileId* file) {
  sockaddr_un address;
  socklen_t length;
  if (!FillSocketAddress(path, &address, &length)) {
    LOG_AT(logging::LOG_ERROR) << "invalid socket path \"" << path << "\"";
    return -1;
  }
  if (!ClearSocketPath(path))
    return -1;

  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    LOG_AT(logging::LOG_ERROR) << "socket: " << std::strerror(errno);
    return -1;
  }
  // bind() gives the file the socket's own mode less the umask: restricting the socket first
  // leaves no moment in which others could connect.
  if (fchmod(fd, kSocketFileMode) != 0 ||
      bind(fd, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
    LOG_AT(logging::LOG_ERROR) << "cannot bind " << path << ": " << std::strerror(errno);
    close(fd);
    return -1;
  }
  struct stat created;
  if (chmod(path.c_str(), kSocketFileMode) != 0 || lstat(path.c_str(), &created) != 0 ||
      listen(fd, kListenBacklog) != 0) {
    LOG_AT(logging::LOG_ERROR) << "cannot listen on " << path << ": " << std::strerror(errno);
    unlink(path.c_str());
    close(fd);
    return -1;
  }
  file->device = created.st_dev;
  file->inode = created.st_ino;
  return fd;
}

void RemoveSocketFileIfUnchanged(const std::string& path, const SocketFileId& file) {
  struct stat current;
  if (lstat(path.c_str(), &current) == 0 && current.st_dev == file.device &&
      current.st_ino == file.inode) {
    unlink(path.c_str());
  }
}

AcceptResult AcceptConnection(int listen_fd, const std::string& path, int* fd) {
  int accepted;
  do {
    accepted = accept4(listen_fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
  } while (accepted < 0 && errno == EINTR);
  if (accepted >= 0) {
    *fd = accepted;
    return ACCEPT_OK;
  }
  if (errno == EAGAIN || errno == EWOULDBLOCK || errno == ECONNABORTED)
    return ACCEPT_NONE;
  LOG_AT(logging::LOG_ERROR) << "cannot accept on " << path << ": " << std::strerror(errno);
  return ACCEPT_FAILED;
}

bool IsPeerUid(int fd, uid_t uid) {
  ucred credentials;
  socklen_t length = sizeof(credentials);
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &credentials, &length) != 0 ||
      length != sizeof(credentials)) {
    return false;
  }
  return credentials.uid == uid;
}

}  // namespace IPC
