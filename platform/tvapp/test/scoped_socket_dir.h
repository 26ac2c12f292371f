// Test helper: a fresh directory for socket files under /tmp (socket paths must stay
// short), removed with what it holds when the helper goes away.

#ifndef TVAPP_TEST_SCOPED_SOCKET_DIR_H_
#define TVAPP_TEST_SCOPED_SOCKET_DIR_H_

#include <stdlib.h>

#include <filesystem>
#include <string>

#include "base/logging.h"

namespace ORVELL0300 {

class ScopedSocketDir {
 public:
  ScopedSocketDir() : path_("/tmp/tvapp-XXXXXX") { CHECK(mkdtemp(path_.data()) != nullptr); }
  ~ScopedSocketDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScopedSocketDir(const ScopedSocketDir&) = delete;
  ScopedSocketDir& operator=(const ScopedSocketDir&) = delete;

  // The path of |name| inside the directory.
  std::string Path(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

}  // namespace ORVELL0300

#endif  // TVAPP_TEST_SCOPED_SOCKET_DIR_H_
