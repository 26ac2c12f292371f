#include "tools/tarn-host/host.h"

#include <errno.h>
#include <sys/stat.h>

#include <cstring>
#include <iostream>

#include "base/logging.h"
#include "base/posix/unix_domain_socket.h"
#include "runtime/component_stub.h"
#include "runtime/runtime.h"
#include "tools/tarn-host/application_host.h"
#include "tools/tarn-host/component_host.h"
#include "tools/tarn-host/control_server.h"
#include "tools/tarn-host/method_invoker.h"
#include "tools/tarn-host/traffic_monitor.h"
#include "tvapp/application_base.h"
#include "tvapp/query_handle.h"

namespace tarn_host {

namespace {

bool CreatesSocket(IPC::Channel::Mode mode) {
  return mode == IPC::Channel::MODE_SERVER || mode == IPC::Channel::MODE_NAMED_SERVER;
}

// Creates the missing folders on the way to the socket file |path|, each private to the
// user (0700). False, with |*error| set, when one cannot be made.
bool CreateSocketFolder(const std::string& path, std::string* error) {
  for (std::string::size_type slash = path.find('/', 1); slash != std::string::npos;
       slash = path.find('/', slash + 1)) {
    const std::string folder = path.substr(0, slash);
    if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
      *error = "cannot create the socket folder " + folder + ": " + std::strerror(errno);
      return false;
    }
  }
  return true;
}

}  // namespace

Host::Host(const HostConfig& config) : config_(config) {}

Host::~Host() {
  Stop();
}

bool Host::Start(std::string* error) {
  if (!PrepareSocketPaths(error))
    return false;
  started_ = true;
  logging::SetMinLogLevel(config_.min_log_level);
  runtime::Runtime::GetInstance()->SetConfigOptions(config_.options);
  CQueryHandle::GetApplication()->SetReplyTimeLimit(config_.reply_time_limit);
  // Counted always, for the status request; traced on stderr when asked.
  monitor_ = std::make_unique<TrafficMonitor>(config_.trace ? &std::cerr : nullptr);
  for (const ComponentConfig& component : config_.components) {
    for (const LinkConfig& link : component.links)
      monitor_->AddLink(link.channel);
  }
  runtime::ComponentStub::SetLinkObserver(monitor_.get());
  CQueryHandle::GetApplication()->SetExchangeObserver(monitor_.get());

  applications_ = std::make_unique<ApplicationHost>();
  for (const ApplicationConfig& application : config_.applications) {
    if (!applications_->Add(application, error)) {
      Stop();
      return false;
    }
  }
  if (!StartComponents(error)) {
    Stop();
    return false;
  }

  invoker_ = std::make_unique<MethodInvoker>(runtime::Runtime::GetInstance()->GetReflection());
  // The runtime's control thread serves the control channel, apart from the links.
  control_ = std::make_unique<ControlServer>(config_.control_channel,
                                             runtime::Runtime::GetInstance()->GetThread(0),
                                             invoker_.get(), monitor_.get());
  if (!control_->Start(error)) {
    Stop();
    return false;
  }
  socket_files_.Remember(config_.control_channel);
  return true;
}

void Host::Stop() {
  if (!started_)
    return;
  started_ = false;
  if (control_)
    control_->Stop();
  if (components_)
    components_->DestroyAll();
  if (applications_)
    applications_->RemoveAll();
  runtime::Runtime::GetInstance()->StopThreads();
  runtime::ComponentStub::SetLinkObserver(nullptr);
  CQueryHandle::GetApplication()->SetExchangeObserver(nullptr);
  for (const std::string& path : socket_files_.RemoveLeftovers())
    LOG_AT(logging::LOG_WARNING) << "Removed the socket " << path << " that was left behind";
  control_.reset();
  monitor_.reset();
  invoker_.reset();
  components_.reset();
  applications_.reset();
}

std::string Host::ReadyLine() const {
  std::string line = "tarn-host: serving (";
  for (const ComponentConfig& component : config_.components) {
    for (const LinkConfig& link : component.links)
      line += "link " + link.channel + ", ";
  }
  return line + "control " + config_.control_channel + ")";
}

bool Host::PrepareSocketPaths(std::string* error) const {
  std::vector<std::string> paths;
  for (const ComponentConfig& component : config_.components) {
    for (const LinkConfig& link : component.links) {
      if (CreatesSocket(link.mode))
        paths.push_back(link.channel);
    }
  }
  paths.push_back(config_.control_channel);
  for (const std::string& path : paths) {
    std::string reason;
    if (!CreateSocketFolder(path, error))
      return false;
    if (!base::CheckListeningPath(path, &reason)) {
      *error = "cannot serve " + reason;
      if (reason.find("Address already in use") != std::string::npos)
        *error += "; is another tarn-host running with this configuration?";
      return false;
    }
  }
  return true;
}

bool Host::StartComponents(std::string* error) {
  components_ = std::make_unique<ComponentHost>(runtime::Runtime::GetInstance());
  for (const ComponentConfig& component : config_.components) {
    if (!components_->Load(component, error))
      return false;
    for (const LinkConfig& link : component.links) {
      if (CreatesSocket(link.mode))
        socket_files_.Remember(link.channel);
    }
  }
  return true;
}

}  // namespace tarn_host
