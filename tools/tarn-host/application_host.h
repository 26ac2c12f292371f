// Registers the application instances that hosted components message through the TV
// application framework: the built-in receiver simulator or the kernel CEC application,
// served in this process, or an instance that another process serves on a Unix socket.

#ifndef TOOLS_TARN_HOST_APPLICATION_HOST_H_
#define TOOLS_TARN_HOST_APPLICATION_HOST_H_

#include <memory>
#include <string>
#include <vector>

namespace cec_sim {
class ReceiverSimulator;
}  // namespace cec_sim

namespace cecapp {
class CecApplication;
}  // namespace cecapp

namespace tarn_host {

struct ApplicationConfig;

class ApplicationHost {
 public:
  ApplicationHost();
  // Removes the instances still registered.
  ~ApplicationHost();
  ApplicationHost(const ApplicationHost&) = delete;
  ApplicationHost& operator=(const ApplicationHost&) = delete;

  // Registers the instance of |config| with the process's instance directory. False, with
  // |*error| set, when the directory refuses it (a name already taken, say), or when the
  // kernel CEC application cannot take its adapter.
  bool Add(const ApplicationConfig& config, std::string* error);

  // Unregisters every instance this host registered, and ends the built-in ones.
  void RemoveAll();

 private:
  bool AddKernelCec(const ApplicationConfig& config, std::string* error);

  std::vector<std::string> names_;  // registered by this host, in order
  std::vector<std::unique_ptr<cec_sim::ReceiverSimulator>> receivers_;  // the built-in ones
  std::vector<std::unique_ptr<cecapp::CecApplication>> cec_applications_;
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_APPLICATION_HOST_H_
