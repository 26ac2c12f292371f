// The service methods that reach the receiver, run through the TV application framework
// against the receiver simulator registered in this process as the CEC application.

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "plugin/device/av_plugin/av_service.h"
#include "plugin/device/av_plugin/test/av_test.h"
#include "tvapp/application_base.h"
#include "tvapp/instance_directory.h"
#include "tvapp/message_handler.h"
#include "tvapp/query_handle.h"
#include "tvapp/simulator/receiver_simulator.h"

namespace plugin {
namespace {

using cec_sim::ReceiverSimulator;
using ORVELL0300::CMessage;
typedef ReceiverSimulator::Fault Fault;

const char kGetStatus[] = "get_cec_receiver_power_status";
const char kSetOnOff[] = "set_cec_receiver_on_off";
const char kSetSoundMode[] = "set_smart_home_sound_mode";

OCString Utf8(const char* text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}

void SetReplyTimeLimit(int ms) {
  CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(ms));
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

TEST_F(AvServiceCecTest, BridgeSendsTheArgumentAsTheNamedTypeOrNothingAtAll) {
  OCString words = Utf8("words");
  long number = -9;
  float real = 2.5f;
  bool flag = true;
  char chars[] = "chars";
  const struct {
    const char* type;
    void* value;
    CMessage::Value sent;
  } known[] = {
      {"OCString", &words, CMessage::Value(std::in_place_index<CMessage::kValueOCString>, words)},
      {"const char*", chars, CMessage::Value(std::in_place_index<CMessage::kValueText>, "chars")},
      {"long", &number, CMessage::Value(-9L)},
      {"float", &real, CMessage::Value(2.5f)},
      {"bool", &flag, CMessage::Value(true)},
  };
  AvService* service = AvService::GetInstance();
  for (const auto& row : known) {
    SCOPED_TRACE(row.type);
    // The simulator refuses the unknown name, so "return" is not checked.
    EXPECT_TRUE(service->m_SendMessageToHdmiCec("probe", "arg", row.type, row.value, false, "", "",
                                                nullptr));
    ExpectOneRequest("probe", "arg", row.sent);
  }
  for (const char* type : {"", "Long", "const char *", "int", "OCString "}) {
    SCOPED_TRACE(type);
    capture_.Clear();
    EXPECT_FALSE(
        service->m_SendMessageToHdmiCec("probe", "arg", type, &number, true, "", "", nullptr));
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
      {Fault::kNoReply,
       true,
       "long",
       kKey,
       false,
       -5,
       {sent, Error("[AV] >>> SendMessage() is false!")}},
      // An empty reply fails even when nothing is asked of it.
      {Fault::kEmptyReply,
       false,
       "",
       "",
       false,
       -5,
       {sent, Error("[AV] >>> reply.NumOfQuery() is smaller than 0!")}},
      {Fault::kReturnNotBool, true, "long", kKey, false, -5, {sent, no_return}},
      // A false "return" fails the call when checked, but the value is still read.
      {Fault::kReturnFalse, true, "long", kKey, false, 7, {sent, Error("[AV] >>> return : false")}},
      {Fault::kReturnFalse, false, "long", kKey, true, 7, {sent}},
      // A reply type that is not accepted, a missing value, a value of another type.
      {Fault::kNone,
       true,
       "const char*",
       kKey,
       false,
       -5,
       {sent, ok, Error("Unknown strReplyAnswerType!!")}},
      {Fault::kNone, true, "long", "powerstatus", false, -5, {sent, ok, unread}},
      {Fault::kNone, true, "bool", kKey, false, -5, {sent, ok, unread}},
  };
  SetReplyTimeLimit(100);
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

// An application that answers every message with the same reply.
class CannedApplication : public ORVELL0300::CMessageHandler {
 public:
  explicit CannedApplication(const CMessage& reply) : reply_(reply) {}
  bool OnMessage(int, const CMessage&, Deadline, CMessage* reply) override {
    *reply = reply_;
    return true;
  }

 private:
  const CMessage reply_;
};

TEST_F(AvServiceCecTest, BridgeReadsEveryReplyTypeAndNeedsAReturnWhenChecking) {
  CMessage canned;
  canned.MakeResult(Utf8("s"), Utf8("text"));
  canned.MakeResult(Utf8("f"), 0.5f);
  canned.MakeResult(Utf8("b"), true);
  CannedApplication application(canned);
  Directory()->RemoveInstance(cec_sim::kCecApplicationName);
  ASSERT_TRUE(Directory()->AddLocalInstance(cec_sim::kCecApplicationName, &application));
  OCString text;
  float real = 0;
  bool flag = false;
  EXPECT_TRUE(AskPowerStatus("OCString", &text, false, "s"));
  EXPECT_TRUE(AskPowerStatus("float", &real, false, "f"));
  EXPECT_FALSE(AskPowerStatus("bool", &flag, true, "b"));  // no "return" in the reply
  EXPECT_FALSE(flag);
  EXPECT_TRUE(AskPowerStatus("bool", &flag, false, "b"));
  EXPECT_EQ("text", text.text());
  EXPECT_EQ(0.5f, real);
  EXPECT_TRUE(flag);
}

TEST_F(AvServiceCecTest, EachMethodSendsOneRequestAndAnswersFromItsReply) {
  typedef CMessage::Value V;
  // Per method: its value argument, and the request it sends with its one entry.
  const std::map<std::string, std::vector<const char*>> kExchanges = {
      {"GetPowerState", {nullptr, kGetStatus, "powerstatus"}},
      {"SetPowerState", {"power_state", kSetOnOff, "onoff"}},
      {"SetSoundMode", {"sound_mode", kSetSoundMode, "sound mode"}}};
  const struct {
    const char* method;
    const char* word;  // the value argument, if any
    Fault fault;
    std::optional<long> status;  // what the receiver answers for its power, if not its own
    int code;
    const char* results;
    V sent;  // the request's entry
  } rows[] = {
      {"GetPowerState", nullptr, Fault::kNone, {}, 0, R"({"power_state":"off"})", V(0L)},
      {"SetPowerState", "on", Fault::kNone, {}, 0, "{}", V(true)},
      {"GetPowerState", nullptr, Fault::kNone, {}, 0, R"({"power_state":"on"})", V(0L)},
      {"SetPowerState", "off", Fault::kNone, {}, 0, "{}", V(false)},
      {"GetPowerState", nullptr, Fault::kNone, 2, 0, R"({"power_state":"on"})", V(0L)},
      {"GetPowerState", nullptr, Fault::kNone, -1, 0, R"({"power_state":"on"})", V(0L)},
      {"SetSoundMode", "Standard", Fault::kNone, {}, 0, "{}", V(0L)},
      {"SetSoundMode", "Music", Fault::kNone, {}, 0, "{}", V(1L)},
      {"SetSoundMode", "Movie", Fault::kNone, {}, 0, "{}", V(2L)},
      {"SetSoundMode", "ClearVoice", Fault::kNone, {}, 0, "{}", V(3L)},
      {"SetSoundMode", "Amplify", Fault::kNone, {}, 0, "{}", V(4L)},
      // A refused exchange fails the method, with no results.
      {"SetPowerState", "on", Fault::kReturnFalse, {}, 100, "{}", V(true)},
      {"GetPowerState", nullptr, Fault::kReturnFalse, 1, 100, "{}", V(0L)},
      {"SetSoundMode", "Movie", Fault::kReturnFalse, {}, 100, "{}", V(2L)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.method << " " << (row.word ? row.word : ""));
    const std::vector<const char*>& exchange = kExchanges.at(row.method);
    receiver_.SetFault(row.fault);
    if (row.status)
      receiver_.SetPowerStatusOverride(*row.status);
    else
      receiver_.ClearPowerStatusOverride();
    base::DictionaryValue args;
    args.SetString("device_id", "tv");
    if (row.word)
      args.SetString(exchange[0], row.word);
    std::string results;
    capture_.Clear();
    EXPECT_EQ(row.code, Invoke(row.method, args, &results));
    EXPECT_EQ(row.results, results);
    ExpectOneRequest(exchange[1], exchange[2], row.sent);
    const Line last = row.code   ? Error("[AV] >>> m_SendMessageToHdmiCec() is false!")
                      : row.word ? Info(std::string(exchange[0]) + " = " + row.word)
                                 : Info("AvService::GetPowerState");
    EXPECT_EQ(last, LinesOf(row.method).back());
  }
}

}  // namespace
}  // namespace plugin
