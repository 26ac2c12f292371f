// What tarn-host runs: the runtime's options, the components to load and their links, where
// the framework finds each application instance, and the host's control channel. Read from
// a config.xml by HostConfigReader, or made by DefaultHostConfig().

#ifndef TOOLS_TARN_HOST_HOST_CONFIG_H_
#define TOOLS_TARN_HOST_HOST_CONFIG_H_

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "cecapp/cec_config.h"
#include "ipc/ipc_channel.h"

namespace tarn_host {

// Options the host reads itself; every option is also handed to the runtime.
extern const char kMinLogLevelOption[];     // "min_log_level": the platform's minimum level
extern const char kReplyTimeLimitOption[];  // "reply_time_limit_ms": the framework's limit
extern const char kTraceOption[];           // "trace": "true" writes a line per exchange
extern const char kAvLogLevelOption[];      // "av_log_level": read by the AV plugin

// The longest reply time limit accepted, one hour.
const long long kMaxReplyTimeLimitMs = 3600 * 1000;

struct LinkConfig {
  std::string channel;  // the socket path
  IPC::Channel::Mode mode = IPC::Channel::MODE_NAMED_SERVER;
};

struct ComponentConfig {
  std::string library;  // a path, or a name the dynamic loader searches for
  std::vector<LinkConfig> links;
};

struct ApplicationConfig {
  enum Endpoint {
    kBuiltin,     // served in this process by the built-in receiver simulator
    kUnixSocket,  // served by another process on |socket_path|
    kKernelCec,   // served in this process over the kernel's CEC adapter |cec.device_path|
  };

  std::string name;
  Endpoint endpoint = kBuiltin;
  std::string socket_path;  // for kUnixSocket only
  cecapp::CecConfig cec;    // for kKernelCec only
};

struct HostConfig {
  HostConfig();
  ~HostConfig();

  // Option name to value, as given to the runtime; a later option of the same name
  // replaces an earlier one.
  std::map<std::string, std::string> options;
  std::vector<ComponentConfig> components;  // in the order they are loaded
  std::vector<ApplicationConfig> applications;
  std::string control_channel;  // the control channel's socket path

  // Taken from the options; the platform's defaults when they are not given.
  int min_log_level;
  std::chrono::milliseconds reply_time_limit;
  bool trace = false;

  // What the reader let pass but a person should hear of ("FILE:LINE: ..."), in order.
  std::vector<std::string> warnings;

  // The configuration as a config.xml that HostConfigReader reads back to the same
  // configuration.
  std::string ToXml() const;
};

// The mode's name in a config.xml ("named_server", ...), or null for a mode without one.
const char* ChannelModeName(IPC::Channel::Mode mode);
// The mode called |name|; false when there is none.
bool ChannelModeFromName(const std::string& name, IPC::Channel::Mode* mode);

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_HOST_CONFIG_H_
