#include "tools/tarn-host/application_host.h"

#include "base/logging.h"
#include "cecapp/cec_application.h"
#include "cecapp/cec_device.h"
#include "tools/tarn-host/host_config.h"
#include "tvapp/application_base.h"
#include "tvapp/instance_directory.h"
#include "tvapp/query_handle.h"
#include "tvapp/simulator/receiver_simulator.h"

namespace tarn_host {

ApplicationHost::ApplicationHost() = default;

ApplicationHost::~ApplicationHost() {
  RemoveAll();
}

bool ApplicationHost::Add(const ApplicationConfig& config, std::string* error) {
  ORVELL0300::CInstanceDirectory* directory = ORVELL0300::CInstanceDirectory::GetInstance();
  if (config.endpoint == ApplicationConfig::kBuiltin) {
    auto receiver = std::make_unique<cec_sim::ReceiverSimulator>();
    if (!directory->AddLocalInstance(config.name, receiver.get())) {
      *error = "cannot register the built-in application " + config.name;
      return false;
    }
    receivers_.push_back(std::move(receiver));
    LOG_AT(logging::LOG_INFO) << "Application " << config.name
                              << " is the built-in receiver simulator";
  } else if (config.endpoint == ApplicationConfig::kKernelCec) {
    if (!AddKernelCec(config, error))
      return false;
  } else {
    if (!directory->AddRemoteInstance(config.name, config.socket_path)) {
      *error = "cannot register the application " + config.name + " at " + config.socket_path;
      return false;
    }
    LOG_AT(logging::LOG_INFO) << "Application " << config.name << " is served at "
                              << config.socket_path;
  }
  names_.push_back(config.name);
  return true;
}

void ApplicationHost::RemoveAll() {
  // A built-in receiver may be waiting out a reply delay; it stops answering at once.
  for (const auto& receiver : receivers_)
    receiver->Interrupt();
  for (auto it = names_.rbegin(); it != names_.rend(); ++it)
    ORVELL0300::CInstanceDirectory::GetInstance()->RemoveInstance(*it);
  names_.clear();
  receivers_.clear();
  cec_applications_.clear();
}

bool ApplicationHost::AddKernelCec(const ApplicationConfig& config, std::string* error) {
  cecapp::CecConfig cec = config.cec;
  // The application's sender is in this process; it waits as long as the framework lets it.
  cec.time_limit = CQueryHandle::GetApplication()->GetReplyTimeLimit();
  std::unique_ptr<cecapp::CecDevice> device = cecapp::CecDevice::Open(cec.device_path, error);
  auto application =
      device ? std::make_unique<cecapp::CecApplication>(std::move(device), cec) : nullptr;
  if (!application || !application->Start(error)) {
    *error = "application " + config.name + ": " + *error;
    return false;
  }
  if (!ORVELL0300::CInstanceDirectory::GetInstance()->AddLocalInstance(config.name,
                                                                       application.get())) {
    *error = "cannot register the application " + config.name;
    return false;
  }
  cec_applications_.push_back(std::move(application));
  LOG_AT(logging::LOG_INFO) << "Application " << config.name << " is the kernel CEC application on "
                            << cec.device_path << ", talking to logical address "
                            << int{cec.audio_address};
  return true;
}

}  // namespace tarn_host
