// Test helper: a fresh directory for socket files, removed with what it holds when the
// helper goes away.

#ifndef TVAPP_TEST_SCOPED_SOCKET_DIR_H_
#define TVAPP_TEST_SCOPED_SOCKET_DIR_H_

#include <string>

namespace ORVELL0300 {

class ScopedSocketDir {
 public:
  // Makes the directory under /tmp; socket paths must stay short.
  ScopedSocketDir();
  ~ScopedSocketDir();
  ScopedSocketDir(const ScopedSocketDir&) = delete;
  ScopedSocketDir& operator=(const ScopedSocketDir&) = delete;

  // The path of |name| inside the directory.
  std::string Path(const std::string& name) const;

 private:
  std::string path_;
};

}  // namespace ORVELL0300

#endif  // TVAPP_TEST_SCOPED_SOCKET_DIR_H_
