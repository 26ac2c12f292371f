#include "cecapp/test/fake_cec_adapter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace cecapp {

FakeCecAdapter::FakeCecAdapter(uint8_t claimed) : claimed_(claimed) {
  std::memset(&addresses_, 0, sizeof(addresses_));
}

FakeCecAdapter::~FakeCecAdapter() = default;

void FakeCecAdapter::SetConfigured(uint8_t address) {
  addresses_.num_log_addrs = 1;
  addresses_.log_addr[0] = address;
  addresses_.log_addr_mask = static_cast<uint16_t>(1 << address);
}

void FakeCecAdapter::AddOutcome(const Outcome& outcome) {
  outcomes_.push_back(outcome);
}

int FakeCecAdapter::GetCapabilities(cec_caps* caps) {
  std::memset(caps, 0, sizeof(*caps));
  caps->capabilities = capabilities;
  return 0;
}

int FakeCecAdapter::SetMode(uint32_t mode) {
  modes.push_back(mode);
  return mode_error;
}

int FakeCecAdapter::GetLogicalAddresses(cec_log_addrs* addresses) {
  *addresses = addresses_;
  return 0;
}

int FakeCecAdapter::SetLogicalAddresses(cec_log_addrs* addresses) {
  claims.push_back(*addresses);
  if (claim_error != 0)
    return claim_error;
  if (addresses_.num_log_addrs > 0)
    return EBUSY;
  addresses_ = *addresses;
  if (claimed_ != CEC_LOG_ADDR_INVALID)
    SetConfigured(claimed_);
  else
    addresses_.log_addr[0] = CEC_LOG_ADDR_INVALID;
  *addresses = addresses_;
  return 0;
}

int FakeCecAdapter::Transmit(cec_msg* message) {
  sent.push_back(*message);
  Outcome outcome;
  if (!outcomes_.empty()) {
    outcome = outcomes_.front();
    outcomes_.pop_front();
  } else if (message->reply != 0) {
    outcome.rx_status = CEC_RX_STATUS_TIMEOUT;
  }
  if (outcome.error != 0)
    return outcome.error;
  message->tx_status = outcome.tx_status;
  message->rx_status = outcome.rx_status;
  if (!outcome.reply.empty()) {
    message->len = static_cast<uint32_t>(outcome.reply.size());
    std::copy(outcome.reply.begin(), outcome.reply.end(), message->msg);
  }
  return 0;
}

}  // namespace cecapp
