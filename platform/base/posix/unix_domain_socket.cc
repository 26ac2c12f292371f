#include "base/posix/unix_domain_socket.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <vector>

#include "base/logging.h"

namespace base {

namespace {

// Room for connections that wait until the server accepts them.
const int kListenBacklog = 16;

// The socket file's mode: the owner alone may connect.
const mode_t kSocketFileMode = 0600;

bool SameFile(const SocketFileId& a, const SocketFileId& b) {
  return a.device == b.device && a.inode == b.inode;
}

// The socket files that servers of this process listen on. Leaked on purpose: servers may
// close from static destructors.
class OwnSocketFiles {
 public:
  static OwnSocketFiles* Get() {
    static OwnSocketFiles* files = new OwnSocketFiles;
    return files;
  }
  void Add(const SocketFileId& file) {
    std::lock_guard<std::mutex> lock(lock_);
    files_.push_back(file);
  }
  void Remove(const SocketFileId& file) {
    std::lock_guard<std::mutex> lock(lock_);
    auto it = std::find_if(files_.begin(), files_.end(),
                           [&file](const SocketFileId& own) { return SameFile(own, file); });
    if (it != files_.end())
      files_.erase(it);
  }
  bool Contains(const SocketFileId& file) {
    std::lock_guard<std::mutex> lock(lock_);
    return std::any_of(files_.begin(), files_.end(),
                       [&file](const SocketFileId& own) { return SameFile(own, file); });
  }

 private:
  std::mutex lock_;
  std::vector<SocketFileId> files_;
};

std::string ErrorText(const std::string& path, int error) {
  return path + ": " + std::strerror(error);
}

// Whether the socket file at |path| is one that nobody listens on any more.
bool IsStale(const std::string& path) {
  const int probe = ConnectUnixSocket(path);
  if (probe >= 0) {
    close(probe);
    return false;
  }
  return errno == ECONNREFUSED || errno == ENOENT;
}

// Makes room for a new socket file at |path|, which CheckListeningPath() accepted.
bool ClearSocketPath(const std::string& path, std::string* error) {
  if (unlink(path.c_str()) != 0 && errno != ENOENT) {
    *error = "cannot replace " + ErrorText(path, errno);
    return false;
  }
  return true;
}

}  // namespace

bool FillUnixAddress(const std::string& path, sockaddr_un* address, socklen_t* length) {
  if (path.empty() || path.size() >= sizeof(address->sun_path))
    return false;
  std::memset(address, 0, sizeof(*address));
  address->sun_family = AF_UNIX;
  std::memcpy(address->sun_path, path.data(), path.size());
  *length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size() + 1);
  return true;
}

int ConnectUnixSocket(const std::string& path) {
  sockaddr_un address;
  socklen_t length;
  if (!FillUnixAddress(path, &address, &length)) {
    errno = EINVAL;
    return -1;
  }
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0)
    return -1;
  int result;
  do {
    result = connect(fd, reinterpret_cast<const sockaddr*>(&address), length);
  } while (result < 0 && errno == EINTR);
  if (result != 0) {
    const int error = errno;
    close(fd);
    errno = error;
    return -1;
  }
  return fd;
}

bool IsSocketServedElsewhere(const std::string& path) {
  struct stat existing;
  if (lstat(path.c_str(), &existing) != 0 || !S_ISSOCK(existing.st_mode))
    return false;
  return !OwnSocketFiles::Get()->Contains(SocketFileId{existing.st_dev, existing.st_ino}) &&
         !IsStale(path);
}

bool CheckListeningPath(const std::string& path, std::string* error) {
  sockaddr_un address;
  socklen_t length;
  if (!FillUnixAddress(path, &address, &length)) {
    *error = "not a usable socket path: \"" + path + "\"";
    return false;
  }
  const std::string::size_type slash = path.rfind('/');
  const std::string directory = slash == std::string::npos ? "."
                                : slash == 0               ? "/"
                                                           : path.substr(0, slash);
  struct stat existing;
  if (stat(directory.c_str(), &existing) != 0 || !S_ISDIR(existing.st_mode)) {
    *error = path + ": the folder " + directory + " does not exist";
    return false;
  }
  if (lstat(path.c_str(), &existing) != 0)
    return true;
  if (!S_ISSOCK(existing.st_mode)) {
    *error = path + ": not a socket";
    return false;
  }
  const SocketFileId file{existing.st_dev, existing.st_ino};
  if (!OwnSocketFiles::Get()->Contains(file) && !IsStale(path)) {
    *error = ErrorText(path, EADDRINUSE) + " (another process serves it)";
    return false;
  }
  return true;
}

int CreateListeningSocket(const std::string& path, SocketFileId* file, std::string* error) {
  if (!CheckListeningPath(path, error) || !ClearSocketPath(path, error))
    return -1;
  sockaddr_un address;
  socklen_t length;
  FillUnixAddress(path, &address, &length);
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    *error = "cannot make a socket for " + ErrorText(path, errno);
    return -1;
  }
  // bind() gives the file the socket's own mode less the umask: restricting the socket first
  // leaves no moment in which others could connect.
  if (fchmod(fd, kSocketFileMode) != 0 ||
      bind(fd, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
    *error = "cannot bind " + ErrorText(path, errno);
    close(fd);
    return -1;
  }
  struct stat created;
  if (chmod(path.c_str(), kSocketFileMode) != 0 || lstat(path.c_str(), &created) != 0 ||
      listen(fd, kListenBacklog) != 0) {
    *error = "cannot listen on " + ErrorText(path, errno);
    unlink(path.c_str());
    close(fd);
    return -1;
  }
  file->device = created.st_dev;
  file->inode = created.st_ino;
  OwnSocketFiles::Get()->Add(*file);
  return fd;
}

void CloseListeningSocket(int listen_fd, const std::string& path, const SocketFileId& file) {
  if (listen_fd >= 0)
    close(listen_fd);
  OwnSocketFiles::Get()->Remove(file);
  struct stat current;
  if (lstat(path.c_str(), &current) == 0 &&
      SameFile(SocketFileId{current.st_dev, current.st_ino}, file)) {
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

}  // namespace base
