#include "cecapp/cec_initiator.h"

#include <linux/cec.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/logging.h"
#include "cecapp/cec_adapter.h"

namespace cecapp {

const std::chrono::milliseconds CecInitiator::kTransmitLimit(2100);
const std::chrono::milliseconds CecInitiator::kShortestReplyWait(100);

namespace {

const struct {
  DeviceType type;
  uint8_t log_addr_type;
  uint8_t primary_device_type;
  uint8_t all_device_types;
} kClaims[] = {
    {DeviceType::kTv, CEC_LOG_ADDR_TYPE_TV, CEC_OP_PRIM_DEVTYPE_TV, CEC_OP_ALL_DEVTYPE_TV},
    {DeviceType::kSpecific, CEC_LOG_ADDR_TYPE_SPECIFIC, CEC_OP_PRIM_DEVTYPE_TV,
     CEC_OP_ALL_DEVTYPE_TV},
    {DeviceType::kPlayback, CEC_LOG_ADDR_TYPE_PLAYBACK, CEC_OP_PRIM_DEVTYPE_PLAYBACK,
     CEC_OP_ALL_DEVTYPE_PLAYBACK},
    {DeviceType::kRecording, CEC_LOG_ADDR_TYPE_RECORD, CEC_OP_PRIM_DEVTYPE_RECORD,
     CEC_OP_ALL_DEVTYPE_RECORD},
    {DeviceType::kTuner, CEC_LOG_ADDR_TYPE_TUNER, CEC_OP_PRIM_DEVTYPE_TUNER,
     CEC_OP_ALL_DEVTYPE_TUNER},
};

const char kOsdName[] = "Tarn";

// One logical address of |type|, as CEC 2.0 asks; the unregistered address 15 when every
// address of the type is taken.
cec_log_addrs ClaimRequest(DeviceType type) {
  cec_log_addrs request;
  std::memset(&request, 0, sizeof(request));
  request.cec_version = CEC_OP_CEC_VERSION_2_0;
  request.num_log_addrs = 1;
  request.vendor_id = CEC_VENDOR_ID_NONE;
  request.flags = CEC_LOG_ADDRS_FL_ALLOW_UNREG_FALLBACK;
  std::memcpy(request.osd_name, kOsdName, sizeof(kOsdName));
  for (const auto& claim : kClaims) {
    if (claim.type != type)
      continue;
    request.log_addr_type[0] = claim.log_addr_type;
    request.primary_device_type[0] = claim.primary_device_type;
    request.all_device_types[0] = claim.all_device_types;
  }
  // features[0] stays zero: no remote control profile, no device features.
  return request;
}

std::chrono::milliseconds TimeLeft(std::chrono::steady_clock::time_point deadline) {
  return std::chrono::duration_cast<std::chrono::milliseconds>(deadline -
                                                               std::chrono::steady_clock::now());
}

// The frame from |initiator| to |destination| carrying |body|, cut to the frame's size.
cec_msg Frame(uint8_t initiator, uint8_t destination, const std::vector<uint8_t>& body) {
  cec_msg message;
  std::memset(&message, 0, sizeof(message));
  message.len = static_cast<uint32_t>(std::min<size_t>(1 + body.size(), CEC_MAX_MSG_SIZE));
  message.msg[0] = static_cast<uint8_t>((initiator << 4) | (destination & 0x0f));
  std::copy(body.begin(), body.begin() + (message.len - 1), message.msg + 1);
  return message;
}

// Whether the adapter holds a logical address; the unregistered address 15 counts. An
// adapter without a physical address has none, whatever it was asked to claim.
bool HasLogicalAddress(const cec_log_addrs& addresses) {
  return addresses.num_log_addrs > 0 && addresses.log_addr[0] != CEC_LOG_ADDR_INVALID;
}

std::string AddressList(const cec_log_addrs& addresses) {
  std::string list;
  for (unsigned i = 0; i < addresses.num_log_addrs && i < CEC_MAX_LOG_ADDRS; ++i)
    list += (list.empty() ? "" : ", ") + std::to_string(addresses.log_addr[i]);
  return list;
}

// Why CEC_TRANSMIT itself failed with |error|.
std::string TransmitErrorCause(int error) {
  switch (error) {
    case ENONET:
      return "the adapter is not configured: it has no physical address (is the HDMI cable "
             "connected?)";
    case EPERM:
      return "the adapter is not configured: it has no logical address";
    case ENODEV:
      return "the adapter was removed";
    case EBUSY:
      return "the adapter is busy: another program holds it exclusively, or its transmit "
             "queue is full";
    case EINTR:
      return "the transmit was interrupted";
    default:
      return std::string("CEC_TRANSMIT failed: ") + std::strerror(error);
  }
}

// Why a frame that the kernel sent was not acknowledged in the end.
std::string TransmitStatusCause(uint8_t status, uint8_t destination) {
  const struct {
    uint8_t bit;
    std::string text;
  } kCauses[] = {
      {CEC_TX_STATUS_NACK,
       "not acknowledged: no device answers at logical address " + std::to_string(destination)},
      {CEC_TX_STATUS_ARB_LOST, "arbitration lost: other devices kept the bus"},
      {CEC_TX_STATUS_LOW_DRIVE, "low drive: a follower signalled an error"},
      {CEC_TX_STATUS_ABORTED,
       "aborted: the adapter was unconfigured or the HDMI cable disconnected"},
      {CEC_TX_STATUS_TIMEOUT, "timed out in the adapter's driver"},
      {CEC_TX_STATUS_ERROR, "transmit error"},
  };
  std::string cause;
  for (const auto& entry : kCauses) {
    if (status & entry.bit)
      cause += (cause.empty() ? "" : "; ") + entry.text;
  }
  if (cause.empty()) {
    char text[48];
    std::snprintf(text, sizeof(text), "not sent (transmit status 0x%02x)", status);
    cause = text;
  }
  return cause;
}

// Why no reply came, from the receive status of a frame that was acknowledged.
std::string ReplyCause(const cec_msg& message, std::chrono::milliseconds wait) {
  if (message.rx_status & CEC_RX_STATUS_FEATURE_ABORT) {
    const int reason = message.len >= 4 ? message.msg[3] : -1;
    return "refused with <Feature Abort>, reason " + std::to_string(reason);
  }
  if (message.rx_status & CEC_RX_STATUS_TIMEOUT)
    return "no reply within " + std::to_string(wait.count()) + " ms";
  if (message.rx_status & CEC_RX_STATUS_ABORTED)
    return "the wait for the reply was aborted: the adapter was unconfigured or the HDMI "
           "cable disconnected";
  char text[48];
  std::snprintf(text, sizeof(text), "no reply (receive status 0x%02x)", message.rx_status);
  return text;
}

}  // namespace

CecInitiator::CecInitiator(std::unique_ptr<CecAdapter> adapter, const CecConfig& config)
    : adapter_(std::move(adapter)), config_(config) {}

CecInitiator::~CecInitiator() = default;

bool CecInitiator::Claim(std::string* error) {
  const std::string& device = config_.device_path;
  cec_caps caps;
  int result = adapter_->GetCapabilities(&caps);
  if (result == 0 && !(caps.capabilities & CEC_CAP_TRANSMIT)) {
    *error = device + " cannot transmit";
    return false;
  }
  if (result == 0)
    result = adapter_->SetMode(CEC_MODE_INITIATOR | CEC_MODE_NO_FOLLOWER);
  cec_log_addrs current;
  if (result == 0)
    result = adapter_->GetLogicalAddresses(&current);
  if (result != 0) {
    *error = "cannot take " + device + " as an initiator: " + std::strerror(result);
    return false;
  }
  if (current.num_log_addrs > 0) {
    LOG_AT(logging::LOG_WARNING) << device << " is configured already; using its logical address "
                                 << AddressList(current) << " as it is ("
                                 << DeviceTypeName(config_.device_type) << " is not claimed)";
    return true;
  }
  cec_log_addrs claim = ClaimRequest(config_.device_type);
  result = adapter_->SetLogicalAddresses(&claim);
  if (result != 0) {
    *error = "cannot claim a " + std::string(DeviceTypeName(config_.device_type)) +
             " logical address on " + device + ": " + std::strerror(result);
    return false;
  }
  if (!HasLogicalAddress(claim)) {
    LOG_AT(logging::LOG_WARNING) << device << " has no physical address yet; it claims a "
                                 << DeviceTypeName(config_.device_type)
                                 << " logical address once it is connected";
  } else {
    LOG_AT(logging::LOG_INFO) << device << " claimed logical address " << AddressList(claim);
  }
  return true;
}

CecInitiator::Outcome CecInitiator::Send(uint8_t destination,
                                         const std::vector<uint8_t>& body,
                                         int reply_opcode,
                                         std::chrono::steady_clock::time_point deadline) {
  Outcome outcome;
  const bool wants_reply = reply_opcode != kNoReply;
  const std::chrono::milliseconds spare = TimeLeft(deadline) - kTransmitLimit;
  const std::chrono::milliseconds wait = std::min(config_.reply_timeout, spare);
  if (spare.count() < 0 || (wants_reply && wait < kShortestReplyWait)) {
    outcome.cause = "too little time left before the request's deadline; nothing sent";
    return outcome;
  }
  cec_log_addrs addresses;
  int result = adapter_->GetLogicalAddresses(&addresses);
  if (result != 0) {
    outcome.cause = TransmitErrorCause(result);
    return outcome;
  }
  if (!HasLogicalAddress(addresses)) {
    outcome.cause =
        "the adapter is not configured: it has no logical address (is the HDMI cable "
        "connected?)";
    return outcome;
  }
  cec_msg message = Frame(addresses.log_addr[0], destination, body);
  if (wants_reply) {
    message.reply = static_cast<uint8_t>(reply_opcode);
    message.timeout = static_cast<uint32_t>(wait.count());
  }
  result = adapter_->Transmit(&message);
  if (result != 0) {
    outcome.cause = TransmitErrorCause(result);
  } else if (!(message.tx_status & CEC_TX_STATUS_OK)) {
    outcome.cause = TransmitStatusCause(message.tx_status, destination);
  } else if (wants_reply && message.rx_status != CEC_RX_STATUS_OK) {
    outcome.cause = ReplyCause(message, wait);
  } else {
    outcome.ok = true;
    if (wants_reply)
      outcome.reply.assign(message.msg,
                           message.msg + std::min<uint32_t>(message.len, CEC_MAX_MSG_SIZE));
  }
  return outcome;
}

}  // namespace cecapp
