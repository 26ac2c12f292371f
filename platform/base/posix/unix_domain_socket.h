// What every server and client on a named Unix domain socket shares: addresses, connecting,
// the socket file's life, accepting, and checking who connected.
//
// One policy for every socket file a server creates:
// - The file has mode 0600 whatever the umask, and only peers with the server's effective
//   uid are served (IsPeerUid).
// - A path that a live server in another process listens on is refused with EADDRINUSE
//   ("Address already in use"); a socket file nobody listens on any more (a server that
//   died) is replaced; any other kind of file is left alone and refused.
// - Within one process a second server may take a path over from the first (the platform
//   opens a link twice when a component asks it to): the first keeps its connected peers,
//   new peers reach the newest.
// - On close, a server removes the file only while it is still the file it created, never
//   one that a successor put there since.

#ifndef BASE_POSIX_UNIX_DOMAIN_SOCKET_H_
#define BASE_POSIX_UNIX_DOMAIN_SOCKET_H_

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <chrono>
#include <string>

namespace base {

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
bool FillUnixAddress(const std::string& path, sockaddr_un* address, socklen_t* length);

// A non-blocking, close-on-exec stream socket connected to |path|, or -1 with errno set. A
// Unix socket connects at once or not at all: EAGAIN means the server's queue is full.
int ConnectUnixSocket(const std::string& path);

// Whether a server in another process listens at |path| now.
bool IsSocketServedElsewhere(const std::string& path);

// Whether a server of this process could listen at |path| now under the policy above,
// changing nothing; false with |*error| saying why not (the path is unusable, its folder
// is missing, something other than a socket is there, another process serves it).
bool CheckListeningPath(const std::string& path, std::string* error);

// Creates a non-blocking, close-on-exec stream socket listening at |path| under the policy
// above. Returns its descriptor and sets |*file|, or returns -1 with |*error| saying why
// ("PATH: Address already in use", "PATH: not a socket", ...).
int CreateListeningSocket(const std::string& path, SocketFileId* file, std::string* error);

// Closes |listen_fd| (if open) and removes the socket file at |path| unless another server
// has replaced |file| there since.
void CloseListeningSocket(int listen_fd, const std::string& path, const SocketFileId& file);

// Accepts one connection on |listen_fd| as a non-blocking, close-on-exec socket into
// |*fd|. |path| names the socket in log lines.
AcceptResult AcceptConnection(int listen_fd, const std::string& path, int* fd);

// Whether the process at the other end of the connected socket |fd| runs with effective
// user id |uid|.
bool IsPeerUid(int fd, uid_t uid);

}  // namespace base

#endif  // BASE_POSIX_UNIX_DOMAIN_SOCKET_H_
