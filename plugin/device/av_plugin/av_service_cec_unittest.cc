// The service methods that reach the receiver, run through the TV application framework
// against the receiver simulator registered in this process as the CEC application.

#include <chrono>

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
    EXPECT_EQ(OCString(key, OCString::kTextEncodingUtf8), requests[0].message.entries()[0].key);
    EXPECT_EQ(value, requests[0].message.entries()[0].value);
  }

  ReceiverSimulator receiver_;
};

// Of the argument types, the methods send "long" and "bool".
TEST_F(AvServiceCecTest, BridgeSendsNothingForAnUnknownArgumentType) {
  long number = -9;
  capture_.Clear();
  EXPECT_FALSE(AvService::GetInstance()->m_SendMessageToHdmiCec("probe", "arg", "Long", &number,
                                                                true, "", "", nullptr));
  EXPECT_EQ(std::vector<Line>{Error("Unknown strResultAnswerType!!")},
            LinesOf("m_SendMessageToHdmiCec"));
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, BridgeFollowsTheReplyRules) {
  const Line sent = Error(std::string("[AV] >>> SendMessage : ") + kGetStatus);
  const Line ok = Error("[AV] >>> return : true");
  const Line unread = Info("[[AV] >>> reply.Query() is false");
  const Line no_return = Error("[[AV] >>> reply.Query() is false");
  const Line no_reply = Error("[AV] >>> SendMessage() is false!");
  const Line empty = Error("[AV] >>> reply.NumOfQuery() is smaller than 0!");
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
      {Fault::kReturnFalse, true, "long", kKey, false, 7, {sent, Error("[AV] >>> return : false")}},
      {Fault::kReturnFalse, false, "long", kKey, true, 7, {sent}},
      // A reply type that is not accepted, a value missing (or of another type, the same
      // branch). The methods read only "long" replies.
      {Fault::kNone, true, "const char*", kKey, false, -5, {sent, ok, bad_type}},
      {Fault::kNone, true, "long", "powerstatus", false, -5, {sent, ok, unread}},
  };
  CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(100));
  receiver_.SetPowerStatusOverride(7);
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    receiver_.SetFault(rows[i].fault);
    long status = -5;  // the request carries 0 from a variable of its own
    long zero = 0;
    capture_.Clear();
    EXPECT_EQ(rows[i].expected, AvService::GetInstance()->m_SendMessageToHdmiCec(
                                    kGetStatus, "powerstatus", "long", &zero, rows[i].check,
                                    rows[i].key, rows[i].type, &status));
    EXPECT_EQ(rows[i].status, status);
    EXPECT_EQ(rows[i].lines, LinesOf("m_SendMessageToHdmiCec"));
    ExpectOneRequest(kGetStatus, "powerstatus", CMessage::Value(0L));
  }
}

// Power on and off, status 0 and "Movie" are in the end-to-end test, the methods' failures in
// av_stub_unittest.cc.
TEST_F(AvServiceCecTest, AnyStatusButZeroIsOnAndTheFirstAndLastSoundModes) {
  receiver_.SetPowerStatusOverride(-1);
  base::DictionaryValue args;
  args.SetString("device_id", "tv");
  std::string results;
  EXPECT_EQ(0, Invoke("GetPowerState", args, &results));
  EXPECT_EQ(R"({"power_state":"on"})", results);
  ExpectOneRequest(kGetStatus, "powerstatus", CMessage::Value(0L));
  for (const auto& [mode, number] : {std::pair<const char*, long>{"Standard", 0}, {"Amplify", 4}}) {
    args.SetString("sound_mode", mode);
    EXPECT_EQ(0, Invoke("SetSoundMode", args, &results)) << mode;
    ExpectOneRequest("set_smart_home_sound_mode", "sound mode", CMessage::Value(number));
  }
}

}  // namespace
}  // namespace plugin
