// Where tarn-host puts its sockets when its configuration does not say, and where its
// clients look for them: $XDG_RUNTIME_DIR/tarn/, or /tmp/tarn-UID/ when that is unset.

#ifndef TOOLS_CONTROL_DEFAULT_PATHS_H_
#define TOOLS_CONTROL_DEFAULT_PATHS_H_

#include <string>

namespace control {

// The directory, without a trailing slash.
std::string DefaultSocketDir();

// The AV plugin's link: DefaultSocketDir() + "/av_plugin.sock".
std::string DefaultLinkPath();

// The host's control channel: DefaultSocketDir() + "/control.sock".
std::string DefaultControlPath();

}  // namespace control

#endif  // TOOLS_CONTROL_DEFAULT_PATHS_H_
