// The real CEC adapter: a /dev/cecN character device of the kernel's CEC framework, opened
// in blocking mode.

#ifndef CECAPP_CEC_DEVICE_H_
#define CECAPP_CEC_DEVICE_H_

#include <memory>
#include <string>

#include "cecapp/cec_adapter.h"

namespace cecapp {

class CecDevice : public CecAdapter {
 public:
  // Opens |path| for reading and writing. Null, with |*error| saying why, when it cannot
  // be opened (no such device, no permission) or is not a CEC adapter.
  static std::unique_ptr<CecDevice> Open(const std::string& path, std::string* error);

  // Closes the device. The adapter keeps the logical addresses it claimed.
  ~CecDevice() override;
  CecDevice(const CecDevice&) = delete;
  CecDevice& operator=(const CecDevice&) = delete;

  int GetCapabilities(cec_caps* caps) override;
  int SetMode(uint32_t mode) override;
  int GetLogicalAddresses(cec_log_addrs* addresses) override;
  int SetLogicalAddresses(cec_log_addrs* addresses) override;
  int Transmit(cec_msg* message) override;

 private:
  explicit CecDevice(int fd);

  // ioctl(fd_, request, argument): 0, or errno.
  int Control(unsigned long request, void* argument);

  const int fd_;  // owned
};

}  // namespace cecapp

#endif  // CECAPP_CEC_DEVICE_H_
