#include "tools/tarn-host/socket_files.h"

#include <sys/stat.h>
#include <unistd.h>

namespace tarn_host {

SocketFiles::SocketFiles() = default;

SocketFiles::~SocketFiles() = default;

void SocketFiles::Remember(const std::string& path) {
  struct stat status;
  if (lstat(path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode))
    files_.push_back(File{path, status.st_dev, status.st_ino});
}

std::vector<std::string> SocketFiles::RemoveLeftovers() {
  std::vector<std::string> removed;
  for (const File& file : files_) {
    struct stat status;
    if (lstat(file.path.c_str(), &status) == 0 && S_ISSOCK(status.st_mode) &&
        status.st_dev == file.device && status.st_ino == file.inode &&
        unlink(file.path.c_str()) == 0) {
      removed.push_back(file.path);
    }
  }
  files_.clear();
  return removed;
}

}  // namespace tarn_host
