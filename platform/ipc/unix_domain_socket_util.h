// The socket work that every server on a named Unix domain socket shares: creating the
// socket file, accepting, checking who connected, and removing the file again.
//
// A server binds a path that may already exist. A socket file there is replaced, whether it
// was left by a server that is gone or belongs to one still running (that one keeps its
// connected peers, but new peers reach the newest server); any other kind of file is left
// alone and the server cannot start. The socket file has mode 0600, whatever the umask, and
// its creator removes it only while it is still the file it created.

#ifndef IPC_UNIX_DOMAIN_SOCKET_UTIL_H_
#define IPC_UNIX_DOMAIN_SOCKET_UTIL_H_

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <chrono>
#include <string>

namespace IPC {

// How long a server waits after a failed accept() before it accepts again: most failures
// (no descriptors or memory left) last a while.
constexpr std::chrono::milliseconds kAcceptRetryDelay(100);

// Tells the socket file a server created from one that replaced it later at the same path.
struct SocketFileId {
  dev_t device = 0;
  ino_t inode = 0;
};

enum AcceptResult {
  ACCEPT_OK,      // a connection
  ACCEPT_NONE,    // nobody waiting, or the connection was gone before it was accepted
  ACCEPT_FAILED,  // accept() failed (logged); wait kAcceptRetryDelay before trying again
};

// Fills |address| and |length| for |path|. False when |path| is empty or too long for a
// socket address (108 bytes with its terminator).
bool FillSocketAddress(const std::string& path, sockaddr_un* address, socklen_t* length);

// Creates a non-blocking, close-on-exec stream socket listening at |path| (see above for what
// may already be there). Returns its descriptor and sets |*file|, or returns -1 after logging
// why.
int CreateListeningSocket(const std::string& path, SocketFileId* file);

// Removes the socket file at |path| unless another server has replaced |file| there since.
void RemoveSocketFileIfUnchanged(const std::string& path, const SocketFileId& file);

// Accepts one connection on |listen_fd| as a non-blocking, close-on-exec socket into
// |*fd|. |path| names the socket in log lines.
AcceptResult AcceptConnection(int listen_fd, const std::string& path, int* fd);

// Whether the process at the other end of the connected socket |fd| runs with effective
// user id |uid|.
bool IsPeerUid(int fd, uid_t uid);

}  // namespace IPC

#endif  // IPC_UNIX_DOMAIN_SOCKET_UTIL_H_
