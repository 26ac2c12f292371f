#include "cecapp/cec_device.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace cecapp {

// static
std::unique_ptr<CecDevice> CecDevice::Open(const std::string& path, std::string* error) {
  const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
  if (fd < 0) {
    *error = "cannot open " + path + ": " + std::strerror(errno);
    return nullptr;
  }
  std::unique_ptr<CecDevice> device(new CecDevice(fd));
  cec_caps caps;
  const int result = device->GetCapabilities(&caps);
  if (result != 0) {
    *error = path + " is not a CEC adapter: " + std::strerror(result);
    return nullptr;
  }
  return device;
}

CecDevice::CecDevice(int fd) : fd_(fd) {}

CecDevice::~CecDevice() {
  close(fd_);
}

int CecDevice::GetCapabilities(cec_caps* caps) {
  std::memset(caps, 0, sizeof(*caps));
  return Control(CEC_ADAP_G_CAPS, caps);
}

int CecDevice::SetMode(uint32_t mode) {
  return Control(CEC_S_MODE, &mode);
}

int CecDevice::GetLogicalAddresses(cec_log_addrs* addresses) {
  std::memset(addresses, 0, sizeof(*addresses));
  return Control(CEC_ADAP_G_LOG_ADDRS, addresses);
}

int CecDevice::SetLogicalAddresses(cec_log_addrs* addresses) {
  return Control(CEC_ADAP_S_LOG_ADDRS, addresses);
}

int CecDevice::Transmit(cec_msg* message) {
  return Control(CEC_TRANSMIT, message);
}

int CecDevice::Control(unsigned long request, void* argument) {
  return ioctl(fd_, request, argument) == 0 ? 0 : errno;
}

}  // namespace cecapp
