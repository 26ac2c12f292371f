// The configuration tarn-host runs when it is given none: the AV plugin that was built or
// installed with the host, the built-in receiver simulator as the CEC application, and the
// plugin's link and the control channel at their default paths (control/default_paths.h).

#ifndef TOOLS_TARN_HOST_DEFAULT_CONFIG_H_
#define TOOLS_TARN_HOST_DEFAULT_CONFIG_H_

#include <string>
#include <vector>

#include "tools/tarn-host/host_config.h"

namespace tarn_host {

// The path of the running program, from /proc/self/exe; empty when it cannot be read.
std::string ExecutablePath();

// Where the AV plugin would be, for the program at |executable_path|: first in the build
// tree (tools/tarn-host/../../plugin/), then in the install tree (bin/../lib/).
std::vector<std::string> PluginCandidates(const std::string& executable_path);

// The first of PluginCandidates() that is a file, as an absolute path without ".."; otherwise the
// plugin's bare file name, which the dynamic loader then searches for.
std::string FindPluginLibrary(const std::string& executable_path);

// The default configuration with |plugin_library| as its one component.
HostConfig DefaultHostConfig(const std::string& plugin_library);

// Makes sure |directory| exists as a directory of this user, creating it with mode 0700
// when it does not exist (its parent must). False, with |*error| set, otherwise.
bool EnsurePrivateDirectory(const std::string& directory, std::string* error);

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_DEFAULT_CONFIG_H_
