#include "tvapp/test/scoped_socket_dir.h"

#include <stdlib.h>

#include <filesystem>

#include "base/logging.h"

namespace ORVELL0300 {

ScopedSocketDir::ScopedSocketDir() {
  char pattern[] = "/tmp/tvapp-XXXXXX";
  CHECK(mkdtemp(pattern) != nullptr);
  path_ = pattern;
}

ScopedSocketDir::~ScopedSocketDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ScopedSocketDir::Path(const std::string& name) const {
  return path_ + "/" + name;
}

}  // namespace ORVELL0300
