// The socket files the host's channels created. The channels remove their own files when
// they close; whatever is left at exit (a component that did not close a link, say) is
// removed here, but only while the path still holds the very file the host created, never
// one that another process has put there since.

#ifndef TOOLS_TARN_HOST_SOCKET_FILES_H_
#define TOOLS_TARN_HOST_SOCKET_FILES_H_

#include <sys/types.h>

#include <string>
#include <vector>

namespace tarn_host {

class SocketFiles {
 public:
  SocketFiles();
  ~SocketFiles();
  SocketFiles(const SocketFiles&) = delete;
  SocketFiles& operator=(const SocketFiles&) = delete;

  // Remembers the socket file now at |path|; nothing when there is no socket there.
  void Remember(const std::string& path);

  // Removes each remembered file that is still at its path, forgets them all, and returns
  // the paths of the files it removed.
  std::vector<std::string> RemoveLeftovers();

 private:
  struct File {
    std::string path;
    dev_t device;
    ino_t inode;
  };

  std::vector<File> files_;
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_SOCKET_FILES_H_
