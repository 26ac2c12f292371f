// The service methods that reach the receiver, run through the TV application framework
// against the receiver simulator registered in this process as the CEC application.

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_log.h"
#include "plugin/device/av_plugin/av_service.h"
#include "tools/tarn-cec-sim/receiver_simulator.h"
#include "tvapp/application_base.h"
#include "tvapp/instance_directory.h"
#include "tvapp/message_handler.h"
#include "tvapp/query_handle.h"

namespace plugin {
namespace {

using cec_sim::ReceiverSimulator;
using ORVELL0300::CMessage;
typedef ReceiverSimulator::Fault Fault;
typedef int (AvService::*Method)(const base::DictionaryValue&, base::DictionaryValue*);
typedef std::pair<int, std::string> Line;  // severity, message without the prefix

const char kGetStatus[] = "get_cec_receiver_power_status";

OCString Utf8(const char* text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}
Line Error(const std::string& message) {
  return Line(logging::LOG_ERROR, message);
}
Line Info(const std::string& message) {
  return Line(logging::LOG_INFO, message);
}

// The module lines that |function| wrote, without their " #av#function#  " prefix.
std::vector<Line> LinesOf(const logging::ScopedLogCapture& capture, const std::string& function) {
  const std::string prefix = " #av#" + function + "#  ";
  std::vector<Line> lines;
  for (const auto& line : capture.lines()) {
    if (line.message.compare(0, prefix.size(), prefix) == 0)
      lines.emplace_back(line.severity, line.message.substr(prefix.size()));
  }
  return lines;
}

// "device_id" = "tv" and, when |key| is given, |key| = |value|.
std::unique_ptr<base::DictionaryValue> Args(const char* key = nullptr, const char* value = "") {
  auto args = std::make_unique<base::DictionaryValue>();
  args->SetString("device_id", "tv");
  if (key)
    args->SetString(key, value);
  return args;
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

class AvServiceCecTest : public testing::Test {
 protected:
  void SetUp() override {
    logging::SetMinLogLevel(logging::LOG_INFO);
    av::log_level = 0;
    ASSERT_TRUE(Directory()->AddLocalInstance(cec_sim::kCecApplicationName, &receiver_));
  }
  void TearDown() override {
    Directory()->RemoveInstance(cec_sim::kCecApplicationName);
    CQueryHandle::GetApplication()->SetReplyTimeLimit(ORVELL0300::kDefaultReplyTimeLimit);
  }

  static ORVELL0300::CInstanceDirectory* Directory() {
    return ORVELL0300::CInstanceDirectory::GetInstance();
  }
  static AvService* service() { return AvService::GetInstance(); }

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
  for (const auto& row : known) {
    SCOPED_TRACE(row.type);
    // The simulator refuses the unknown name, so "return" is not checked.
    EXPECT_TRUE(service()->m_SendMessageToHdmiCec("probe", "arg", row.type, row.value, false, "",
                                                  "", nullptr));
    ExpectOneRequest("probe", "arg", row.sent);
  }
  for (const char* type : {"", "Long", "const char *", "int", "OCString "}) {
    SCOPED_TRACE(type);
    logging::ScopedLogCapture capture;
    EXPECT_FALSE(
        service()->m_SendMessageToHdmiCec("probe", "arg", type, &number, true, "", "", nullptr));
    EXPECT_EQ(std::vector<Line>{Error("Unknown strResultAnswerType!!")},
              LinesOf(capture, "m_SendMessageToHdmiCec"));
  }
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, BridgeFollowsTheReplyRules) {
  const Line sent = Error(std::string("[AV] >>> SendMessage : ") + kGetStatus);
  const Line returned_true = Error("[AV] >>> return : true");
  const struct {
    const char* what;
    Fault fault;
    bool check_return;
    const char* reply_type;
    const char* reply_key;
    bool expected;
    long status_after;  // the reply variable starts at -5
    std::vector<Line> lines;
  } rows[] = {
      {"success", Fault::kNone, true, "long", "power status", true, 7, {sent, returned_true}},
      {"no reply in time",
       Fault::kNoReply,
       true,
       "long",
       "power status",
       false,
       -5,
       {sent, Error("[AV] >>> SendMessage() is false!")}},
      {"empty reply, nothing asked of it",
       Fault::kEmptyReply,
       false,
       "",
       "",
       false,
       -5,
       {sent, Error("[AV] >>> reply.NumOfQuery() is smaller than 0!")}},
      {"\"return\" not a bool",
       Fault::kReturnNotBool,
       true,
       "long",
       "power status",
       false,
       -5,
       {sent, Error("[[AV] >>> reply.Query() is false")}},
      {"\"return\" false, value still read",
       Fault::kReturnFalse,
       true,
       "long",
       "power status",
       false,
       7,
       {sent, Error("[AV] >>> return : false")}},
      {"\"return\" false, not checked",
       Fault::kReturnFalse,
       false,
       "long",
       "power status",
       true,
       7,
       {sent}},
      {"reply type not accepted",
       Fault::kNone,
       true,
       "const char*",
       "power status",
       false,
       -5,
       {sent, returned_true, Error("Unknown strReplyAnswerType!!")}},
      {"reply value missing",
       Fault::kNone,
       true,
       "long",
       "powerstatus",
       false,
       -5,
       {sent, returned_true, Info("[[AV] >>> reply.Query() is false")}},
      {"reply value of another type",
       Fault::kNone,
       true,
       "bool",
       "power status",
       false,
       -5,
       {sent, returned_true, Info("[[AV] >>> reply.Query() is false")}},
  };
  CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(100));
  receiver_.SetPowerStatusOverride(7);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    receiver_.SetFault(row.fault);
    // A "bool" reply is read into the first byte of |status|; it must stay untouched.
    long status = -5;
    logging::ScopedLogCapture capture;
    EXPECT_EQ(row.expected,
              AskPowerStatus(row.reply_type, &status, row.check_return, row.reply_key));
    EXPECT_EQ(row.status_after, status);
    EXPECT_EQ(row.lines, LinesOf(capture, "m_SendMessageToHdmiCec"));
    ExpectOneRequest(kGetStatus, "powerstatus", CMessage::Value(0L));
  }
}

// An application that answers every message with the same reply.
class CannedApplication : public ORVELL0300::CMessageHandler {
 public:
  explicit CannedApplication(const CMessage& reply) : reply_(reply) {}
  bool OnMessage(int, const CMessage&, CMessage* reply) override {
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
  EXPECT_TRUE(AskPowerStatus("bool", &flag, false, "b"));
  EXPECT_EQ("text", text.text());
  EXPECT_EQ(0.5f, real);
  EXPECT_TRUE(flag);

  logging::ScopedLogCapture capture;
  flag = false;
  EXPECT_FALSE(AskPowerStatus("bool", &flag, true, "b"));
  EXPECT_FALSE(flag);
  EXPECT_EQ(Error("[[AV] >>> reply.Query() is false"),
            LinesOf(capture, "m_SendMessageToHdmiCec").back());
}

// Calls |method| with |key| = |word|, expects success and the standard log lines, and
// returns the value of the one request that went out.
CMessage::Value SetAndRecord(Method method,
                             const char* name,
                             const char* key,
                             const char* word,
                             ReceiverSimulator* receiver) {
  base::DictionaryValue result;
  logging::ScopedLogCapture capture;
  EXPECT_EQ(kAvResultSuccess, (AvService::GetInstance()->*method)(*Args(key, word), &result));
  EXPECT_TRUE(result.empty());
  const std::vector<Line> lines = {Info(std::string("AvService::") + name), Info("device_id = tv"),
                                   Info(std::string(key) + " = " + word)};
  EXPECT_EQ(lines, LinesOf(capture, name));
  const std::vector<ReceiverSimulator::Request> requests = receiver->requests();
  receiver->ClearRequests();
  if (requests.size() != 1 || requests[0].message.NumOfQuery() != 1)
    return CMessage::Value();
  return requests[0].message.entries()[0].value;
}

TEST_F(AvServiceCecTest, SettersSendTheMappedValue) {
  EXPECT_EQ(CMessage::Value(true), SetAndRecord(&AvService::SetPowerState, "SetPowerState",
                                                "power_state", "on", &receiver_));
  EXPECT_TRUE(receiver_.power_on());
  receiver_.SetPowerOn(true);
  EXPECT_EQ(CMessage::Value(false), SetAndRecord(&AvService::SetPowerState, "SetPowerState",
                                                 "power_state", "off", &receiver_));
  EXPECT_FALSE(receiver_.power_on());
  const char* modes[] = {"Standard", "Music", "Movie", "ClearVoice", "Amplify"};
  for (long number : {1, 4, 0, 3, 2}) {
    EXPECT_EQ(CMessage::Value(number), SetAndRecord(&AvService::SetSoundMode, "SetSoundMode",
                                                    "sound_mode", modes[number], &receiver_))
        << modes[number];
    EXPECT_EQ(number, receiver_.sound_mode());
  }
  // The messages themselves, once each.
  service()->SetPowerState(*Args("power_state", "on"), nullptr);
  ExpectOneRequest("set_cec_receiver_on_off", "onoff", CMessage::Value(true));
  service()->SetSoundMode(*Args("sound_mode", "Music"), nullptr);
  ExpectOneRequest("set_smart_home_sound_mode", "sound mode", CMessage::Value(1L));
}

TEST_F(AvServiceCecTest, OtherWordsAndMissingArgumentsSendNothing) {
  const struct {
    const char* method;
    Method call;
    const char* key;
    std::vector<const char*> words;
  } rows[] = {
      {"SetPowerState",
       &AvService::SetPowerState,
       "power_state",
       {"On", "ON", "Off", "1", "true", " on", "on ", ""}},
      {"SetSoundMode",
       &AvService::SetSoundMode,
       "sound_mode",
       {"standard", "MUSIC", "Clear Voice", "clearvoice", " Movie", "Amplify ", "0", ""}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.method);
    for (const char* word : row.words) {
      base::DictionaryValue result;
      logging::ScopedLogCapture capture;
      EXPECT_EQ(kAvResultValueNotFound, (service()->*row.call)(*Args(row.key, word), &result));
      EXPECT_EQ(Error(std::string("[AV] >>> '") + row.key + "' is not found!"),
                LinesOf(capture, row.method).back());
    }
    // A missing device_id is refused before the (valid) value is looked at.
    base::DictionaryValue args;
    args.SetString(row.key, row.words[0]);
    base::DictionaryValue result;
    EXPECT_EQ(kAvResultInvalidParameter, (service()->*row.call)(args, &result));
    EXPECT_EQ(kAvResultInvalidParameter, (service()->*row.call)(*Args(), &result));
    args.SetInteger("device_id", 1);
    EXPECT_EQ(kAvResultInvalidParameter, (service()->*row.call)(args, &result));
    EXPECT_TRUE(result.empty());
  }
  base::DictionaryValue result;
  EXPECT_EQ(kAvResultInvalidParameter, service()->GetPowerState(base::DictionaryValue(), &result));
  EXPECT_TRUE(result.empty());
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, GetPowerStateMapsZeroToOffAndAnythingElseToOn) {
  const struct {
    bool receiver_on;
    bool choose_status;
    long status;
    const char* expected;
  } rows[] = {{false, false, 0, "off"},
              {true, false, 0, "on"},
              {true, true, 0, "off"},
              {false, true, 2, "on"},
              {false, true, -1, "on"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.expected);
    receiver_.SetPowerOn(row.receiver_on);
    if (row.choose_status)
      receiver_.SetPowerStatusOverride(row.status);
    base::DictionaryValue result;
    result.SetString("power_state", "stale");
    EXPECT_EQ(kAvResultSuccess, service()->GetPowerState(*Args(), &result));
    std::string state;
    EXPECT_TRUE(result.GetString("power_state", &state));
    EXPECT_EQ(row.expected, state);
    ExpectOneRequest(kGetStatus, "powerstatus", CMessage::Value(0L));
  }
}

TEST_F(AvServiceCecTest, RefusedExchangesGiveCecFailureAndNoResult) {
  const struct {
    const char* method;
    Method call;
    const char* key;
    const char* value;
  } rows[] = {
      {"SetPowerState", &AvService::SetPowerState, "power_state", "on"},
      {"GetPowerState", &AvService::GetPowerState, nullptr, nullptr},
      {"SetSoundMode", &AvService::SetSoundMode, "sound_mode", "Movie"},
  };
  receiver_.SetFault(Fault::kReturnFalse);
  receiver_.SetPowerStatusOverride(1);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.method);
    base::DictionaryValue result;
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultCecFailure, (service()->*row.call)(*Args(row.key, row.value), &result));
    EXPECT_TRUE(result.empty());
    EXPECT_EQ(1u, receiver_.requests().size());
    receiver_.ClearRequests();
    EXPECT_EQ(Error("[AV] >>> m_SendMessageToHdmiCec() is false!"),
              LinesOf(capture, row.method).back());
  }
  EXPECT_FALSE(receiver_.power_on());
  EXPECT_EQ(0, receiver_.sound_mode());
}

TEST_F(AvServiceCecTest, SoundModeQueryAndResourcesAnswerWithoutTheReceiver) {
  base::DictionaryValue result;
  result.SetInteger("resources", 5);
  EXPECT_EQ(kAvResultSuccess, service()->GetSoundMode(*Args("sound_mode", "Movie"), &result));
  EXPECT_EQ(kAvResultSuccess, service()->GetDeviceResources(*Args(), &result));
  std::string mode;
  EXPECT_TRUE(result.GetString("sound_mode", &mode));
  EXPECT_EQ("not_supported", mode);
  const base::ListValue* resources = nullptr;
  ASSERT_TRUE(result.GetList("resources", &resources));
  std::vector<std::string> names;
  for (const auto& value : *resources) {
    std::string name;
    EXPECT_TRUE(value->GetAsString(&name));
    names.push_back(name);
  }
  EXPECT_EQ((std::vector<std::string>{"Information", "Audio", "Operation"}), names);
  EXPECT_EQ(2u, result.size());
  EXPECT_STREQ("Operation", kResourceOperation);
  EXPECT_STREQ("Audio", kResourceAudio);
  EXPECT_STREQ("Information", kResourceInformation);
  EXPECT_TRUE(receiver_.requests().empty());
}

}  // namespace
}  // namespace plugin
