// tarn-host's life: it starts what its configuration names, in order (the runtime's
// options and the log level, the application instances, each component and its links,
// the control channel), and stops it all again in reverse.

#ifndef TOOLS_TARN_HOST_HOST_H_
#define TOOLS_TARN_HOST_HOST_H_

#include <memory>
#include <string>

#include "tools/tarn-host/host_config.h"
#include "tools/tarn-host/socket_files.h"

namespace tarn_host {

class ApplicationHost;
class ComponentHost;
class ControlServer;
class MethodInvoker;
class TrafficMonitor;

class Host {
 public:
  // The runtime takes the options of |config| as they are; it reads no file itself.
  explicit Host(const HostConfig& config);
  // Stops.
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  // Starts everything. On a failure, undoes what was started and returns false with
  // |*error| saying what failed. Creates the missing folders of the sockets; refuses,
  // touching nothing else, when one of the sockets cannot be served (another process
  // serves it, something else is at its path).
  bool Start(std::string* error);

  // Stops everything that was started: the control channel closes, the components are
  // destroyed, the application instances removed, the runtime's threads stopped, and the
  // socket files the host created are gone. Safe to call more than once.
  void Stop();

  // "tarn-host: serving (link PATH, ..., control PATH)".
  std::string ReadyLine() const;

 private:
  bool PrepareSocketPaths(std::string* error) const;
  bool StartComponents(std::string* error);

  const HostConfig config_;
  std::unique_ptr<ApplicationHost> applications_;
  std::unique_ptr<ComponentHost> components_;
  std::unique_ptr<MethodInvoker> invoker_;
  std::unique_ptr<TrafficMonitor> monitor_;
  std::unique_ptr<ControlServer> control_;
  SocketFiles socket_files_;
  bool started_ = false;
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_HOST_H_
