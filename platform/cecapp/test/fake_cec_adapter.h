// A CEC adapter for tests: plays the kernel's part with scripted outcomes and records
// every call made to it.

#ifndef CECAPP_TEST_FAKE_CEC_ADAPTER_H_
#define CECAPP_TEST_FAKE_CEC_ADAPTER_H_

#include <deque>
#include <vector>

#include "cecapp/cec_adapter.h"

namespace cecapp {

class FakeCecAdapter : public CecAdapter {
 public:
  // What the kernel does with one CEC_TRANSMIT.
  struct Outcome {
    int error = 0;  // the ioctl fails with this errno; the rest is then ignored
    uint8_t tx_status = CEC_TX_STATUS_OK;
    uint8_t rx_status = 0;       // for a frame that awaits a reply
    std::vector<uint8_t> reply;  // the reply frame, header first
  };

  // An adapter that can transmit, has no logical address yet, and claims |claimed| when
  // asked to (CEC_LOG_ADDR_INVALID: it has no physical address and claims nothing).
  explicit FakeCecAdapter(uint8_t claimed = 0);
  ~FakeCecAdapter() override;

  // Gives the adapter |address| as if it had been configured earlier.
  void SetConfigured(uint8_t address);
  // The outcome of the next transmit not yet scripted. Unscripted transmits are
  // acknowledged, and time out waiting for a reply.
  void AddOutcome(const Outcome& outcome);

  int GetCapabilities(cec_caps* caps) override;
  int SetMode(uint32_t mode) override;
  int GetLogicalAddresses(cec_log_addrs* addresses) override;
  int SetLogicalAddresses(cec_log_addrs* addresses) override;
  int Transmit(cec_msg* message) override;

  // Scripted faults of the other ioctls (errno values, 0 for none), and capabilities.
  uint32_t capabilities = CEC_CAP_TRANSMIT | CEC_CAP_LOG_ADDRS | CEC_CAP_PHYS_ADDR;
  int mode_error = 0;
  int claim_error = 0;

  // What was asked of the adapter, in order.
  std::vector<uint32_t> modes;
  std::vector<cec_log_addrs> claims;  // as handed in
  std::vector<cec_msg> sent;          // each frame as handed in

 private:
  const uint8_t claimed_;
  cec_log_addrs addresses_;
  std::deque<Outcome> outcomes_;
};

}  // namespace cecapp

#endif  // CECAPP_TEST_FAKE_CEC_ADAPTER_H_
