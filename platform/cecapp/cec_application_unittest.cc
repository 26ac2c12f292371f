#include "cecapp/cec_application.h"

#include <linux/cec.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "cecapp/cec_adapter.h"
#include "gtest/gtest.h"
#include "tvapp/application_base.h"

namespace cecapp {
namespace {

using ORVELL0300::CMessage;
using std::chrono::milliseconds;

// A CEC adapter that plays the kernel's part with scripted outcomes and records every call.
class FakeCecAdapter : public CecAdapter {
 public:
  // What the kernel does with one CEC_TRANSMIT: fail with errno |error|, or set the statuses
  // and, when there is one, the reply frame (header first).
  struct Outcome {
    int error = 0;
    uint8_t tx_status = CEC_TX_STATUS_OK;
    uint8_t rx_status = 0;
    std::vector<uint8_t> reply;
  };

  // Asked to claim an address, it takes |claimed| (CEC_LOG_ADDR_INVALID: it has no physical
  // address and claims nothing). Transmits beyond |outcomes| are acknowledged.
  explicit FakeCecAdapter(uint8_t claimed) : claimed_(claimed) {}
  void SetConfigured(uint8_t address) {
    addresses_.num_log_addrs = 1;
    addresses_.log_addr[0] = address;
  }

  int GetCapabilities(cec_caps* caps) override {
    *caps = cec_caps{};
    caps->capabilities = capabilities;
    return 0;
  }
  int SetMode(uint32_t mode) override {
    modes.push_back(mode);
    return mode_error;
  }
  int GetLogicalAddresses(cec_log_addrs* addresses) override {
    *addresses = addresses_;
    return 0;
  }
  int SetLogicalAddresses(cec_log_addrs* addresses) override {
    claims.push_back(*addresses);
    if (claim_error == 0) {
      addresses_ = *addresses;
      SetConfigured(claimed_);
      *addresses = addresses_;
    }
    return claim_error;
  }
  int Transmit(cec_msg* message) override {
    sent.push_back(*message);
    const Outcome outcome = sent.size() <= outcomes.size() ? outcomes[sent.size() - 1] : Outcome();
    message->tx_status = outcome.tx_status;
    message->rx_status = outcome.rx_status;
    if (!outcome.reply.empty())
      message->len = static_cast<uint32_t>(outcome.reply.size());
    std::copy(outcome.reply.begin(), outcome.reply.end(), message->msg);
    return outcome.error;
  }

  uint32_t capabilities = CEC_CAP_TRANSMIT | CEC_CAP_LOG_ADDRS | CEC_CAP_PHYS_ADDR;
  int mode_error = 0;   // errno of CEC_S_MODE
  int claim_error = 0;  // errno of CEC_ADAP_S_LOG_ADDRS
  std::vector<Outcome> outcomes;
  // What was asked of the adapter, in order, as handed in.
  std::vector<uint32_t> modes;
  std::vector<cec_log_addrs> claims;
  std::vector<cec_msg> sent;

 private:
  const uint8_t claimed_;
  cec_log_addrs addresses_{};
};

using Outcome = FakeCecAdapter::Outcome;

OCString Utf8(const char* text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}

CMessage Request(const char* name, const char* key, const CMessage::Value& value) {
  CMessage request;
  request.SetName(Utf8(name));
  request.AddEntry(Utf8(key), value);
  return request;
}

CMessage OnOff(bool on) {
  return Request("set_cec_receiver_on_off", "onoff", on);
}

CMessage PowerStatus() {
  return Request("get_cec_receiver_power_status", "powerstatus", 0L);
}

// CEC_TRANSMIT fails with errno |error|, or sends the frame with |tx_status|.
Outcome Sent(uint8_t tx_status, int error = 0) {
  return Outcome{error, tx_status, 0, {}};
}

Outcome Replied(uint8_t rx_status, const std::vector<uint8_t>& frame = {}) {
  return Outcome{0, CEC_TX_STATUS_OK, rx_status, frame};
}

// <Report Power Status> from the audio system to the TV.
Outcome Report(uint8_t power_status) {
  return Replied(CEC_RX_STATUS_OK, {0x50, 0x90, power_status});
}

// "05 8f", and for a frame that awaits a reply " -> 90 in 1000 ms", the wait rounded down
// to 100 ms (the time the test itself takes is less).
std::string FrameText(const cec_msg& message) {
  std::string text;
  char byte[4];
  for (uint32_t i = 0; i < message.len; ++i) {
    std::snprintf(byte, sizeof(byte), "%s%02x", i ? " " : "", message.msg[i]);
    text += byte;
  }
  if (message.reply != 0 || message.timeout != 0) {
    std::snprintf(byte, sizeof(byte), "%02x", message.reply);
    text +=
        std::string(" -> ") + byte + " in " + std::to_string(message.timeout / 100 * 100) + " ms";
  }
  return text;
}

// The reply's entries in order: "return=true power status=1".
std::string ReplyText(const CMessage& reply) {
  std::string text;
  for (const CMessage::Entry& entry : reply.entries()) {
    text += (text.empty() ? "" : " ") + entry.key.text() + "=";
    if (const bool* value = std::get_if<bool>(&entry.value))
      text += *value ? "true" : "false";
    else if (const long* number = std::get_if<long>(&entry.value))
      text += std::to_string(*number);
  }
  return text;
}

CecConfig TestConfig() {
  CecConfig config;
  config.device_path = "/dev/cec0";
  config.sound_mode_commands[2] = {0x89, 0x12, 0x34};
  return config;
}

// Each request: the frames it puts on the bus ("|" between frames), what the kernel makes
// of them, the reply, and a part of the error line (none when it worked).
TEST(CecApplicationTest, RequestFramesOutcomesAndReplies) {
  const std::string kOff = "05 36";                   // <Standby>
  const std::string kOn = "05 44 6d|05 45";           // [Power On Function] pressed, released
  const std::string kAsk = "05 8f -> 90 in 1000 ms";  // <Give Device Power Status>
  const std::string kT = "return=true";
  const std::string kF = "return=false";
  const std::string kStatus = "return=true power status=";
  const Outcome kNack = Sent(CEC_TX_STATUS_NACK | CEC_TX_STATUS_MAX_RETRIES);
  const Outcome kArbLost = Sent(CEC_TX_STATUS_ARB_LOST | CEC_TX_STATUS_MAX_RETRIES);
  const Outcome kFailures =
      Sent(CEC_TX_STATUS_LOW_DRIVE | CEC_TX_STATUS_ABORTED | CEC_TX_STATUS_ERROR |
           CEC_TX_STATUS_TIMEOUT | CEC_TX_STATUS_MAX_RETRIES);
  const Outcome kAborted =
      Replied(CEC_RX_STATUS_FEATURE_ABORT | CEC_RX_STATUS_OK, {0x50, 0, 0x8f, 4});
  const char kLate[] = "too little time left before the request's deadline; nothing sent";
  const CMessage kVendorMode = Request("set_smart_home_sound_mode", "sound mode", 2L);
  const struct {
    CMessage request;
    std::vector<Outcome> kernel;
    std::string frames;
    std::string reply;
    std::string cause;
    uint8_t own_address = 0;
    int time_left_ms = 5000;
    int type = ORVELL0300::kMessageTypeQuery;
  } rows[] = {
      // Power on and off.
      {OnOff(true), {}, kOn, kT, ""},
      {OnOff(false), {}, kOff, kT, ""},
      {OnOff(false), {}, "f5 36", kT, "", 15},  // unregistered
      {OnOff(true), {kNack}, "05 44 6d", kF, "no device answers at logical address 5"},
      {OnOff(true), {Outcome(), kArbLost}, kOn, kF, "arbitration lost"},
      {OnOff(false),
       {kFailures},
       kOff,
       kF,
       "low drive: a follower signalled an error; aborted: the adapter was unconfigured or the "
       "HDMI cable disconnected; timed out in the adapter's driver; transmit error"},
      {OnOff(false), {Sent(0, ENONET)}, kOff, kF, "it has no physical address"},
      {OnOff(false), {Sent(0, EBUSY)}, kOff, kF, "the adapter is busy"},
      {OnOff(false), {}, "", kF, "it has no logical address", CEC_LOG_ADDR_INVALID},
      // The power status: on, standby, unknown; the reply wait is what the deadline leaves.
      {PowerStatus(), {Report(0x00)}, kAsk, kStatus + "1", ""},
      {PowerStatus(), {Report(0x03)}, kAsk, kStatus + "0", ""},
      {PowerStatus(), {Report(0x04)}, kAsk, kF, "carries no known power status (3 bytes)"},
      {PowerStatus(), {kAborted}, kAsk, kF, "refused with <Feature Abort>, reason 4"},
      {PowerStatus(),
       {Replied(CEC_RX_STATUS_TIMEOUT)},
       kAsk,
       kF,
       "<Give Device Power Status> to logical address 5 failed: no reply within 1000 ms"},
      {PowerStatus(), {Replied(CEC_RX_STATUS_ABORTED)}, kAsk, kF, "wait for the reply was aborted"},
      {PowerStatus(), {kNack}, kAsk, kF, "not acknowledged"},
      {PowerStatus(), {Report(0x00)}, "05 8f -> 90 in 600 ms", kStatus + "1", "", 0, 2799},
      // Sound modes: only a configured vendor command goes out.
      {Request("set_smart_home_sound_mode", "sound mode", 1L), {}, "", kF, "no standard sound"},
      {kVendorMode, {}, "05 89 12 34", kT, ""},
      {kVendorMode, {kNack}, "05 89 12 34", kF, "(89 12 34) to logical address 5 failed"},
      // Requests that are not understood send nothing.
      {Request("set_volume", "level", 3L), {}, "", kF, "refused \"set_volume\""},
      {Request("set_cec_receiver_on_off", "onoff", 1L), {}, "", kF, "refused \"set_cec_rec"},
      {OnOff(false), {}, "", kF, "refused a message of type 7", 0, 5000, 7},
      // Nothing goes out that the kernel could not be done with before the deadline.
      {OnOff(false), {}, "", kF, "<Standby> to logical address 5 failed: too little time", 0, 2000},
      {PowerStatus(), {}, "", kF, kLate, 0, 2150},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.request.GetName().text() + ": " + row.reply + " " + row.cause);
    auto adapter = std::make_unique<FakeCecAdapter>(row.own_address);
    FakeCecAdapter* fake = adapter.get();
    fake->outcomes = row.kernel;
    CecApplication application(std::move(adapter), TestConfig());
    logging::ScopedLogCapture log;
    std::string error;
    ASSERT_TRUE(application.Start(&error)) << error;
    log.Clear();

    CMessage reply;
    application.Answer(row.type, row.request,
                       std::chrono::steady_clock::now() + milliseconds(row.time_left_ms), &reply);

    std::string frames;
    for (const cec_msg& message : fake->sent)
      frames += (frames.empty() ? "" : "|") + FrameText(message);
    EXPECT_EQ(row.frames, frames);
    EXPECT_EQ(row.reply, ReplyText(reply));
    std::string errors;
    for (const auto& line : log.lines())
      errors += line.severity == logging::LOG_ERROR ? line.message + "\n" : "";
    if (row.cause.empty())
      EXPECT_EQ("", errors);
    else
      EXPECT_NE(std::string::npos, errors.find(row.cause)) << errors;
  }
}

// Start() claims one logical address of the configured type, or keeps the adapter's.
TEST(CecApplicationTest, StartClaimsALogicalAddress) {
  // The device type asked for, and the address type, primary and all device types claimed.
  const struct Claim {
    DeviceType type;
    uint8_t types[3];
  } kTv{DeviceType::kTv, {CEC_LOG_ADDR_TYPE_TV, CEC_OP_PRIM_DEVTYPE_TV, CEC_OP_ALL_DEVTYPE_TV}},
      kTuner{DeviceType::kTuner,
             {CEC_LOG_ADDR_TYPE_TUNER, CEC_OP_PRIM_DEVTYPE_TUNER, CEC_OP_ALL_DEVTYPE_TUNER}};
  const struct {
    const char* what;
    Claim claim;
    uint8_t claimed;
    int configured;  // the address the adapter has already, or -1
    uint32_t capabilities;
    int mode_error;
    int claim_error;
    std::string message;  // the error, or the log line when it started
    bool started = true;
  } rows[] = {
      {"claimed", kTuner, 14, -1, CEC_CAP_TRANSMIT, 0, 0, "/dev/cec0 claimed logical address 14"},
      {"no physical address", kTv, CEC_LOG_ADDR_INVALID, -1, CEC_CAP_TRANSMIT, 0, 0,
       "/dev/cec0 has no physical address yet; it claims a tv logical address once it is "
       "connected"},
      {"configured already", kTv, 0, 4, CEC_CAP_TRANSMIT, 0, 0,
       "/dev/cec0 is configured already; using its logical address 4 as it is (tv is not "
       "claimed)"},
      {"cannot transmit", kTv, 0, -1, CEC_CAP_LOG_ADDRS, 0, 0, "/dev/cec0 cannot transmit", false},
      {"held exclusively", kTv, 0, -1, CEC_CAP_TRANSMIT, EBUSY, 0,
       "cannot take /dev/cec0 as an initiator: Device or resource busy", false},
      {"claim refused", kTv, 0, -1, CEC_CAP_TRANSMIT, 0, ENOTTY,
       "cannot claim a tv logical address on /dev/cec0: Inappropriate ioctl for device", false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    auto adapter = std::make_unique<FakeCecAdapter>(row.claimed);
    FakeCecAdapter* fake = adapter.get();
    if (row.configured >= 0)
      fake->SetConfigured(static_cast<uint8_t>(row.configured));
    fake->capabilities = row.capabilities;
    fake->mode_error = row.mode_error;
    fake->claim_error = row.claim_error;
    CecConfig config = TestConfig();
    config.device_type = row.claim.type;
    CecApplication application(std::move(adapter), config);
    logging::ScopedLogCapture log;

    std::string error;
    EXPECT_EQ(row.started, application.Start(&error));
    if (row.started)
      EXPECT_EQ(1, log.Count(row.message)) << ::testing::PrintToString(log.messages());
    else
      EXPECT_EQ(row.message, error);
    // Nothing is claimed over an adapter's own configuration, or after a failure before it.
    const bool claims =
        row.configured < 0 && row.mode_error == 0 && (row.capabilities & CEC_CAP_TRANSMIT);
    ASSERT_EQ(claims ? 1u : 0u, fake->claims.size());
    if (!claims)
      continue;
    EXPECT_EQ(std::vector<uint32_t>{CEC_MODE_INITIATOR | CEC_MODE_NO_FOLLOWER}, fake->modes);
    const cec_log_addrs& claim = fake->claims[0];
    EXPECT_EQ(1, claim.num_log_addrs);
    EXPECT_EQ(row.claim.types[0], claim.log_addr_type[0]);
    EXPECT_EQ(row.claim.types[1], claim.primary_device_type[0]);
    EXPECT_EQ(row.claim.types[2], claim.all_device_types[0]);
    EXPECT_EQ(CEC_OP_CEC_VERSION_2_0, claim.cec_version);
    EXPECT_EQ(CEC_VENDOR_ID_NONE, claim.vendor_id);
    EXPECT_EQ(uint32_t{CEC_LOG_ADDRS_FL_ALLOW_UNREG_FALLBACK}, claim.flags);
    EXPECT_STREQ("Tarn", claim.osd_name);
  }
}

}  // namespace
}  // namespace cecapp
