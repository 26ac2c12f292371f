#include "cecapp/cec_application.h"

#include <linux/cec.h>

#include <cerrno>
#include <cstdio>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "cecapp/test/fake_cec_adapter.h"
#include "gtest/gtest.h"
#include "tvapp/application_base.h"

namespace cecapp {
namespace {

using ORVELL0300::CMessage;
using Outcome = FakeCecAdapter::Outcome;
using std::chrono::milliseconds;

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

CMessage SoundMode(long mode) {
  return Request("set_smart_home_sound_mode", "sound mode", mode);
}

Outcome Errno(int error) {
  Outcome outcome;
  outcome.error = error;
  return outcome;
}

Outcome Sent(uint8_t tx_status) {
  Outcome outcome;
  outcome.tx_status = tx_status;
  return outcome;
}

Outcome Replied(uint8_t rx_status, const std::vector<uint8_t>& frame = {}) {
  Outcome outcome;
  outcome.rx_status = rx_status;
  outcome.reply = frame;
  return outcome;
}

// <Report Power Status> from the audio system to the TV.
Outcome Report(uint8_t power_status) {
  return Replied(CEC_RX_STATUS_OK, {0x50, 0x90, power_status});
}

const uint8_t kNackRetries = CEC_TX_STATUS_NACK | CEC_TX_STATUS_MAX_RETRIES;

// "05 8f", and for a frame that awaits a reply " -> 90 in 1000 ms".
std::string FrameText(const cec_msg& message) {
  std::string text;
  char byte[4];
  for (uint32_t i = 0; i < message.len; ++i) {
    std::snprintf(byte, sizeof(byte), "%s%02x", i ? " " : "", message.msg[i]);
    text += byte;
  }
  if (message.reply != 0 || message.timeout != 0) {
    std::snprintf(byte, sizeof(byte), "%02x", message.reply);
    text += std::string(" -> ") + byte + " in " + std::to_string(message.timeout) + " ms";
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
    else
      text += "?";
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
// of them, the reply, and the cause named in the error line (none when it worked).
TEST(CecApplicationTest, RequestFramesOutcomesAndReplies) {
  const std::string kOff = "05 36";                   // <Standby>
  const std::string kOn = "05 44 6d|05 45";           // [Power On Function] pressed, released
  const std::string kAsk = "05 8f -> 90 in 1000 ms";  // <Give Device Power Status>
  const std::string kT = "return=true";
  const std::string kF = "return=false";
  const std::string kStatus = "return=true power status=";
  const Outcome kNack = Sent(kNackRetries);
  const Outcome kArbLost = Sent(CEC_TX_STATUS_ARB_LOST | CEC_TX_STATUS_MAX_RETRIES);
  const Outcome kFailures = Sent(CEC_TX_STATUS_LOW_DRIVE | CEC_TX_STATUS_ERROR |
                                 CEC_TX_STATUS_TIMEOUT | CEC_TX_STATUS_MAX_RETRIES);
  const Outcome kAborted =
      Replied(CEC_RX_STATUS_FEATURE_ABORT | CEC_RX_STATUS_OK, {0x50, 0, 0x8f, 4});
  const char kLate[] = "too little time left before the request's deadline; nothing sent";
  const CMessage kVendorMode = SoundMode(2);
  const struct {
    CMessage request;
    std::vector<Outcome> kernel;
    std::string frames;
    std::string reply;
    std::string cause;
    uint8_t own_address = 0;
    int type = ORVELL0300::kMessageTypeQuery;
    int time_left_ms = 5000;
  } rows[] = {
      // Power on and off.
      {OnOff(true), {}, kOn, kT, ""},
      {OnOff(false), {}, kOff, kT, ""},
      {OnOff(false), {}, "e5 36", kT, "", 14},  // a second TV
      {OnOff(false), {}, "f5 36", kT, "", 15},  // unregistered
      {OnOff(true),
       {kNack},
       "05 44 6d",
       kF,
       "not acknowledged: no device answers at logical address 5"},
      {OnOff(true), {Outcome(), kArbLost}, kOn, kF, "arbitration lost"},
      {OnOff(false), {kNack}, kOff, kF, "<Standby> to logical address 5 failed: not acknowledged"},
      {OnOff(false),
       {Sent(CEC_TX_STATUS_ABORTED)},
       kOff,
       kF,
       "aborted: the adapter was unconfigured or the HDMI cable disconnected"},
      {OnOff(false),
       {kFailures},
       kOff,
       kF,
       "low drive: a follower signalled an error; timed out in the adapter's driver; "
       "transmit error"},
      {OnOff(false), {Errno(ENONET)}, kOff, kF, "it has no physical address"},
      {OnOff(false), {Errno(ENODEV)}, kOff, kF, "the adapter was removed"},
      {OnOff(false), {Errno(EBUSY)}, kOff, kF, "the adapter is busy"},
      {OnOff(false), {}, "", kF, "it has no logical address", CEC_LOG_ADDR_INVALID},
      // The power status: on, to on, standby, to standby, unknown.
      {PowerStatus(), {Report(0x00)}, kAsk, kStatus + "1", ""},
      {PowerStatus(), {Report(0x02)}, kAsk, kStatus + "1", ""},
      {PowerStatus(), {Report(0x01)}, kAsk, kStatus + "0", ""},
      {PowerStatus(), {Report(0x03)}, kAsk, kStatus + "0", ""},
      {PowerStatus(), {Report(0x04)}, kAsk, kF, "carries no known power status (3 bytes)"},
      {PowerStatus(), {kAborted}, kAsk, kF, "refused with <Feature Abort>, reason 4"},
      {PowerStatus(),
       {Replied(CEC_RX_STATUS_TIMEOUT)},
       kAsk,
       kF,
       "<Give Device Power Status> to logical address 5 failed: no reply within 1000 ms"},
      {PowerStatus(),
       {Replied(CEC_RX_STATUS_ABORTED)},
       kAsk,
       kF,
       "the wait for the reply was aborted"},
      {PowerStatus(), {kNack}, kAsk, kF, "not acknowledged"},
      // Sound modes: only a configured vendor command goes out.
      {SoundMode(1),
       {},
       "",
       kF,
       "sound mode 1 not set: HDMI-CEC has no standard sound-mode message"},
      {kVendorMode, {}, "05 89 12 34", kT, ""},
      {kVendorMode, {kNack}, "05 89 12 34", kF, "(89 12 34) to logical address 5 failed"},
      // Requests that are not understood send nothing.
      {Request("set_volume", "level", 3L), {}, "", kF, "refused \"set_volume\""},
      {Request("set_cec_receiver_on_off", "onoff", 1L),
       {},
       "",
       kF,
       "refused \"set_cec_receiver_on_off\""},
      {Request("set_smart_home_sound_mode", "sound mode", true),
       {},
       "",
       kF,
       "refused \"set_smart_home_sound_mode\""},
      {OnOff(false), {}, "", kF, "refused a message of type 7", 0, 7},
      // Nothing goes out that the kernel could not be done with before the deadline.
      {OnOff(false),
       {},
       "",
       kF,
       std::string("<Standby> to logical address 5 failed: ") + kLate,
       0,
       ORVELL0300::kMessageTypeQuery,
       2000},
      {PowerStatus(), {}, "", kF, kLate, 0, ORVELL0300::kMessageTypeQuery, 2150},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.request.GetName().text() + ": " + row.reply + " " + row.cause);
    auto adapter = std::make_unique<FakeCecAdapter>(row.own_address);
    FakeCecAdapter* fake = adapter.get();
    for (const Outcome& outcome : row.kernel)
      fake->AddOutcome(outcome);
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
    for (const auto& line : log.lines()) {
      if (line.severity == logging::LOG_ERROR)
        errors += line.message + "\n";
    }
    if (row.cause.empty())
      EXPECT_EQ("", errors);
    else
      EXPECT_NE(std::string::npos, errors.find(row.cause)) << errors;
  }
}

// The kernel's waits end before the sender gives up: the reply wait shrinks to what is
// left of the configured time limit after the kernel's transmit limit.
TEST(CecApplicationTest, ReplyWaitShrinksToTheTimeLimit) {
  CecConfig config = TestConfig();
  config.time_limit = milliseconds(2700);
  auto adapter = std::make_unique<FakeCecAdapter>();
  FakeCecAdapter* fake = adapter.get();
  CecApplication application(std::move(adapter), config);
  std::string error;
  ASSERT_TRUE(application.Start(&error)) << error;

  CMessage reply;
  EXPECT_TRUE(application.OnMessage(ORVELL0300::kMessageTypeQuery, PowerStatus(),
                                    std::chrono::steady_clock::now() + config.time_limit, &reply));
  ASSERT_EQ(1u, fake->sent.size());
  EXPECT_GT(fake->sent[0].timeout, 500u);
  EXPECT_LE(fake->sent[0].timeout, 600u);
}

// Start() claims one logical address of the configured type, or keeps the adapter's.
TEST(CecApplicationTest, StartClaimsALogicalAddress) {
  const struct {
    DeviceType type;
    int claim[3];  // address type, primary device type, all device types
  } types[] = {
      {DeviceType::kTv, {CEC_LOG_ADDR_TYPE_TV, CEC_OP_PRIM_DEVTYPE_TV, CEC_OP_ALL_DEVTYPE_TV}},
      {DeviceType::kSpecific,
       {CEC_LOG_ADDR_TYPE_SPECIFIC, CEC_OP_PRIM_DEVTYPE_TV, CEC_OP_ALL_DEVTYPE_TV}},
      {DeviceType::kPlayback,
       {CEC_LOG_ADDR_TYPE_PLAYBACK, CEC_OP_PRIM_DEVTYPE_PLAYBACK, CEC_OP_ALL_DEVTYPE_PLAYBACK}},
      {DeviceType::kRecording,
       {CEC_LOG_ADDR_TYPE_RECORD, CEC_OP_PRIM_DEVTYPE_RECORD, CEC_OP_ALL_DEVTYPE_RECORD}},
      {DeviceType::kTuner,
       {CEC_LOG_ADDR_TYPE_TUNER, CEC_OP_PRIM_DEVTYPE_TUNER, CEC_OP_ALL_DEVTYPE_TUNER}},
  };
  for (const auto& type : types) {
    auto adapter = std::make_unique<FakeCecAdapter>(4);
    FakeCecAdapter* fake = adapter.get();
    CecConfig config = TestConfig();
    config.device_type = type.type;
    CecApplication application(std::move(adapter), config);
    std::string error;
    ASSERT_TRUE(application.Start(&error)) << error;
    EXPECT_EQ(std::vector<uint32_t>{CEC_MODE_INITIATOR | CEC_MODE_NO_FOLLOWER}, fake->modes);
    ASSERT_EQ(1u, fake->claims.size());
    const cec_log_addrs& claim = fake->claims[0];
    EXPECT_EQ(1, claim.num_log_addrs);
    EXPECT_EQ(type.claim[0], claim.log_addr_type[0]);
    EXPECT_EQ(type.claim[1], claim.primary_device_type[0]);
    EXPECT_EQ(type.claim[2], claim.all_device_types[0]);
    EXPECT_EQ(CEC_OP_CEC_VERSION_2_0, claim.cec_version);
    EXPECT_EQ(CEC_VENDOR_ID_NONE, claim.vendor_id);
    EXPECT_EQ(uint32_t{CEC_LOG_ADDRS_FL_ALLOW_UNREG_FALLBACK}, claim.flags);
    EXPECT_STREQ("Tarn", claim.osd_name);
  }

  const struct {
    const char* what;
    uint8_t claimed;
    int configured;  // the address the adapter has already, or -1
    uint32_t capabilities;
    int mode_error;
    int claim_error;
    bool started;
    std::string message;  // the error, or the log line
  } rows[] = {
      {"claimed", 14, -1, CEC_CAP_TRANSMIT, 0, 0, true, "/dev/cec0 claimed logical address 14"},
      {"no physical address", CEC_LOG_ADDR_INVALID, -1, CEC_CAP_TRANSMIT, 0, 0, true,
       "/dev/cec0 has no physical address yet; it claims a tv logical address once it is "
       "connected"},
      {"configured already", 0, 4, CEC_CAP_TRANSMIT, 0, 0, true,
       "/dev/cec0 is configured already; using its logical address 4 as it is (tv is not "
       "claimed)"},
      {"cannot transmit", 0, -1, CEC_CAP_LOG_ADDRS, 0, 0, false, "/dev/cec0 cannot transmit"},
      {"held exclusively", 0, -1, CEC_CAP_TRANSMIT, EBUSY, 0, false,
       "cannot take /dev/cec0 as an initiator: Device or resource busy"},
      {"claim refused", 0, -1, CEC_CAP_TRANSMIT, 0, ENOTTY, false,
       "cannot claim a tv logical address on /dev/cec0: Inappropriate ioctl for device"},
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
    CecApplication application(std::move(adapter), TestConfig());
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
    EXPECT_EQ(claims ? 1u : 0u, fake->claims.size());
  }
}

}  // namespace
}  // namespace cecapp
