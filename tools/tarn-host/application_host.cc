#include "tools/tarn-host/application_host.h"

#include "base/logging.h"
#include "tools/tarn-cec-sim/receiver_simulator.h"
#include "tools/tarn-host/host_config.h"
#include "tvapp/instance_directory.h"

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
}

}  // namespace tarn_host
