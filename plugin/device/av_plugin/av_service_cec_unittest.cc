// The service methods that reach the receiver, run through the TV application framework
// against the receiver simulator registered in this process as the CEC application.

#include <chrono>
#include <string>
#include <vector>

#include "plugin/device/av_plugin/av_service.h"
#include "plugin/device/av_plugin/test/av_test.h"
#include "tvapp/application_base.h"
#include "tvapp/instance_directory.h"
#include "tvapp/query_handle.h"
#include "tvapp/simulator/receiver_simulator.h"

namespace plugin {
namespace {

using cec_sim::ReceiverSimulator;
using ORVELL0300::CMessage;
typedef ReceiverSimulator::Fault Fault;

const char kGetStatus[] = "get_cec_receiver_power_status";
const char kSetSoundMode[] = "set_smart_home_sound_mode";

OCString Utf8(const char* text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}

// The power-status request, with the reply value |reply_key| read as |reply_type|.
bool AskPowerStatus(const char* reply_type,
                    void* reply_value,
                    bool check_return = true,
                    const char* reply_key = "power status") {
  long zero = 0;
  return AvService::GetInstance()->m_SendMessageToHdmiCec(
      kGetStatus, "powerstatus", "long", &zero, check_return, reply_key, reply_type, reply_value);
}

class AvServiceCecTest : public AvTest {
 protected:
  void SetUp() override {
    AvTest::SetUp();
    ASSERT_TRUE(Directory()->AddLocalInstance(cec_sim::kCecApplicationName, &receiver_));
  }
  void TearDown() override {
    Directory()->RemoveInstance(cec_sim::kCecApplicationName);
    CQueryHandle::GetApplication()->SetReplyTimeLimit(ORVELL0300::kDefaultReplyTimeLimit);
  }

  static ORVELL0300::CInstanceDirectory* Directory() {
    return ORVELL0300::CInstanceDirectory::GetInstance();
  }

  // Checks that exactly one request went out, and clears the record: |name| with the
  // single entry |key| = |value|.
  void ExpectOneRequest(const char* name, const char* key, const CMessage::Value& value) {
    const std::vector<ReceiverSimulator::Request> requests = receiver_.requests();
    receiver_.ClearRequests();
    ASSERT_EQ(1u, requests.size());
    EXPECT_EQ(ORVELL0300::kMessageTypeQuery, requests[0].message_type);
    EXPECT_EQ(name, requests[0].message.GetName().text());
    ASSERT_EQ(1, requests[0].message.NumOfQuery());
    EXPECT_EQ(Utf8(key), requests[0].message.entries()[0].key);
    EXPECT_EQ(value, requests[0].message.entries()[0].value);
  }

  ReceiverSimulator receiver_;
};

// The argument types that no method sends ("OCString", "const char*", "float") are left out.
TEST_F(AvServiceCecTest, BridgeSendsNothingForAnUnknownArgumentType) {
  long number = -9;
  for (const char* type : {"", "Long", "OCString "}) {
    SCOPED_TRACE(type);
    capture_.Clear();
    EXPECT_FALSE(AvService::GetInstance()->m_SendMessageToHdmiCec("probe", "arg", type, &number,
                                                                  true, "", "", nullptr));
    EXPECT_EQ(std::vector<Line>{Error("Unknown strResultAnswerType!!")},
              LinesOf("m_SendMessageToHdmiCec"));
  }
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, BridgeFollowsTheReplyRules) {
  const Line sent = Error(std::string("[AV] >>> SendMessage : ") + kGetStatus);
  const Line ok = Error("[AV] >>> return : true");
  const Line unread = Info("[[AV] >>> reply.Query() is false");
  const Line no_return = Error("[[AV] >>> reply.Query() is false");
  const Line no_reply = Error("[AV] >>> SendMessage() is false!");
  const Line empty = Error("[AV] >>> reply.NumOfQuery() is smaller than 0!");
  const Line refused = Error("[AV] >>> return : false");
  const Line bad_type = Error("Unknown strReplyAnswerType!!");
  const char* kKey = "power status";
  // Each row: the fault, whether "return" is checked, the reply value's type and key, the
  // outcome, the reply variable after the call (it starts at -5) and the lines written.
  const struct {
    Fault fault;
    bool check;
    const char* type;
    const char* key;
    bool expected;
    long status;
    std::vector<Line> lines;
  } rows[] = {
      {Fault::kNone, true, "long", kKey, true, 7, {sent, ok}},
      {Fault::kNoReply, true, "long", kKey, false, -5, {sent, no_reply}},
      // An empty reply fails even when nothing is asked of it.
      {Fault::kEmptyReply, false, "", "", false, -5, {sent, empty}},
      {Fault::kReturnNotBool, true, "long", kKey, false, -5, {sent, no_return}},
      // A false "return" fails the call when checked, but the value is still read.
      {Fault::kReturnFalse, true, "long", kKey, false, 7, {sent, refused}},
      {Fault::kReturnFalse, false, "long", kKey, true, 7, {sent}},
      // A reply type that is not accepted, a missing value, a value of another type.
      {Fault::kNone, true, "const char*", kKey, false, -5, {sent, ok, bad_type}},
      {Fault::kNone, true, "long", "powerstatus", false, -5, {sent, ok, unread}},
      {Fault::kNone, true, "bool", kKey, false, -5, {sent, ok, unread}},
  };
  CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(100));
  receiver_.SetPowerStatusOverride(7);
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    receiver_.SetFault(rows[i].fault);
    // A "bool" reply is read into the first byte of |status|; it must stay untouched.
    long status = -5;
    capture_.Clear();
    EXPECT_EQ(rows[i].expected, AskPowerStatus(rows[i].type, &status, rows[i].check, rows[i].key));
    EXPECT_EQ(rows[i].status, status);
    EXPECT_EQ(rows[i].lines, LinesOf("m_SendMessageToHdmiCec"));
    ExpectOneRequest(kGetStatus, "powerstatus", CMessage::Value(0L));
  }
}

TEST_F(AvServiceCecTest, MethodsSendTheirRequestAndReadTheStatus) {
  // Power on and off, status 0 and "Movie" are in the end-to-end test, the failures in
  // av_stub_unittest.cc.
  const struct {
    const char* method;
    const char* sound_mode;  // if any
    const char* request;
    const char* key;
    long sent;
    const char* results;
  } rows[] = {
      {"GetPowerState", nullptr, kGetStatus, "powerstatus", 0, R"({"power_state":"on"})"},
      {"SetSoundMode", "Standard", kSetSoundMode, "sound mode", 0, "{}"},
      {"SetSoundMode", "Amplify", kSetSoundMode, "sound mode", 4, "{}"},
  };
  receiver_.SetPowerStatusOverride(-1);  // any status but 0 is "on"
  for (const auto& row : rows) {
    SCOPED_TRACE(row.method);
    base::DictionaryValue args;
    args.SetString("device_id", "tv");
    if (row.sound_mode)
      args.SetString("sound_mode", row.sound_mode);
    std::string results;
    EXPECT_EQ(0, Invoke(row.method, args, &results));
    EXPECT_EQ(row.results, results);
    ExpectOneRequest(row.request, row.key, CMessage::Value(row.sent));
  }
}

}  // namespace
}  // namespace plugin
