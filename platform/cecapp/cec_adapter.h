// A CEC adapter as the kernel's CEC framework presents it (/dev/cecN): the few ioctls the
// TV's CEC application uses. CecDevice is the real one over a file descriptor; tests use a
// fake that plays the kernel's part.

#ifndef CECAPP_CEC_ADAPTER_H_
#define CECAPP_CEC_ADAPTER_H_

#include <linux/cec.h>

#include <cstdint>

namespace cecapp {

class CecAdapter {
 public:
  virtual ~CecAdapter() = default;

  // Each performs one ioctl on the adapter and returns 0, or the errno it failed with.
  virtual int GetCapabilities(cec_caps* caps) = 0;                // CEC_ADAP_G_CAPS
  virtual int SetMode(uint32_t mode) = 0;                         // CEC_S_MODE
  virtual int GetLogicalAddresses(cec_log_addrs* addresses) = 0;  // CEC_ADAP_G_LOG_ADDRS
  virtual int SetLogicalAddresses(cec_log_addrs* addresses) = 0;  // CEC_ADAP_S_LOG_ADDRS
  // Blocking: returns once the frame was sent or failed and, when |message|->reply is set,
  // once the reply came or |message|->timeout ran out. The kernel writes the outcome
  // (tx_status, rx_status, and the reply in msg/len) into |message|.
  virtual int Transmit(cec_msg* message) = 0;  // CEC_TRANSMIT
};

}  // namespace cecapp

#endif  // CECAPP_CEC_ADAPTER_H_
