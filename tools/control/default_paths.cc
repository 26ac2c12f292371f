#include "tools/control/default_paths.h"

#include <unistd.h>

#include <cstdlib>

namespace control {

std::string DefaultSocketDir() {
  const char* runtime_dir = std::getenv("XDG_RUNTIME_DIR");
  if (runtime_dir != nullptr && *runtime_dir != '\0')
    return std::string(runtime_dir) + "/tarn";
  return "/tmp/tarn-" + std::to_string(getuid());
}

std::string DefaultLinkPath() {
  return DefaultSocketDir() + "/av_plugin.sock";
}

std::string DefaultControlPath() {
  return DefaultSocketDir() + "/control.sock";
}

}  // namespace control
