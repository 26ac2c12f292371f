#include "tools/tarn-host/default_config.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "base/logging.h"
#include "tools/control/default_paths.h"
#include "tvapp/application_base.h"
#include "tvapp/simulator/receiver_simulator.h"

namespace tarn_host {

namespace {

const char kPluginFileName[] = TARN_AV_PLUGIN_FILE_NAME;
const char kInstallLibDir[] = TARN_INSTALL_LIBDIR;

std::string DirectoryOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos)
    return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

bool IsFile(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

std::string ExecutablePath() {
  char buffer[4096];
  const ssize_t length = readlink("/proc/self/exe", buffer, sizeof(buffer) - 1);
  if (length <= 0)
    return std::string();
  return std::string(buffer, static_cast<size_t>(length));
}

std::vector<std::string> PluginCandidates(const std::string& executable_path) {
  if (executable_path.empty())
    return {};
  const std::string directory = DirectoryOf(executable_path);
  return {
      directory + "/../../plugin/" + kPluginFileName,
      directory + "/../" + kInstallLibDir + "/" + kPluginFileName,
  };
}

std::string FindPluginLibrary(const std::string& executable_path) {
  for (const std::string& candidate : PluginCandidates(executable_path)) {
    char resolved[PATH_MAX];
    if (IsFile(candidate) && realpath(candidate.c_str(), resolved) != nullptr)
      return resolved;
  }
  return kPluginFileName;
}

HostConfig DefaultHostConfig(const std::string& plugin_library) {
  HostConfig config;
  config.options[kAvLogLevelOption] = "LOG_INFO";
  config.options[kMinLogLevelOption] = "LOG_INFO";
  config.min_log_level = logging::LOG_INFO;
  config.options[kReplyTimeLimitOption] =
      std::to_string(ORVELL0300::kDefaultReplyTimeLimit.count());
  config.reply_time_limit = ORVELL0300::kDefaultReplyTimeLimit;

  ComponentConfig plugin;
  plugin.library = plugin_library;
  plugin.links.push_back(LinkConfig{control::DefaultLinkPath(), IPC::Channel::MODE_NAMED_SERVER});
  config.components.push_back(plugin);

  ApplicationConfig receiver;
  receiver.name = cec_sim::kCecApplicationName;
  receiver.endpoint = ApplicationConfig::kBuiltin;
  config.applications.push_back(receiver);

  config.control_channel = control::DefaultControlPath();
  return config;
}

bool EnsurePrivateDirectory(const std::string& directory, std::string* error) {
  if (mkdir(directory.c_str(), 0700) == 0)
    return true;
  if (errno != EEXIST) {
    *error = "cannot create the socket directory " + directory + ": " + std::strerror(errno);
    return false;
  }
  struct stat status;
  if (lstat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
    *error = "the socket directory " + directory + " is not a directory";
    return false;
  }
  if (status.st_uid != geteuid()) {
    *error = "the socket directory " + directory + " belongs to another user";
    return false;
  }
  return true;
}

}  // namespace tarn_host
