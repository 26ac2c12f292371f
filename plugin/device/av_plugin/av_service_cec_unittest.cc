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
typedef std::pair<int, std::string> Line;  // severity, message without the prefix

const char kBridge[] = "m_SendMessageToHdmiCec";
const char kGetStatus[] = "get_cec_receiver_power_status";

OCString Utf8(const char* text) {
  return OCString(text, OCString::kTextEncodingUtf8);
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

Line Error(const std::string& message) {
  return Line(logging::LOG_ERROR, message);
}
Line Info(const std::string& message) {
  return Line(logging::LOG_INFO, message);
}

std::unique_ptr<base::DictionaryValue> Args(const char* key = nullptr,
                                            const char* value = nullptr) {
  auto args = std::make_unique<base::DictionaryValue>();
  args->SetString("device_id", "tv");
  if (key)
    args->SetString(key, value);
  return args;
}

class AvServiceCecTest : public testing::Test {
 protected:
  void SetUp() override {
    logging::SetMinLogLevel(logging::LOG_INFO);
    av::log_level = 0;
    ASSERT_TRUE(directory()->AddLocalInstance(cec_sim::kCecApplicationName, &receiver_));
  }
  void TearDown() override {
    directory()->RemoveInstance(cec_sim::kCecApplicationName);
    CQueryHandle::GetApplication()->SetReplyTimeLimit(ORVELL0300::kDefaultReplyTimeLimit);
  }

  static ORVELL0300::CInstanceDirectory* directory() {
    return ORVELL0300::CInstanceDirectory::GetInstance();
  }
  static AvService* service() { return AvService::GetInstance(); }

  // Checks that exactly one request went out: |name| with the single entry |key| = |value|.
  void ExpectOneRequest(const char* name, const char* key, const CMessage::Value& value) {
    const std::vector<ReceiverSimulator::Request> requests = receiver_.requests();
    ASSERT_EQ(1u, requests.size());
    EXPECT_EQ(ORVELL0300::kMessageTypeQuery, requests[0].message_type);
    EXPECT_EQ(name, requests[0].message.GetName().text());
    ASSERT_EQ(1, requests[0].message.NumOfQuery());
    EXPECT_EQ(Utf8(key), requests[0].message.entries()[0].key);
    EXPECT_EQ(value, requests[0].message.entries()[0].value);
  }

  ReceiverSimulator receiver_;
};

// The power-status request, with the reply value read as |reply_type|.
bool AskPowerStatus(const char* reply_type,
                    void* reply_value,
                    bool check_return = true,
                    const char* reply_key = "power status") {
  long zero = 0;
  return AvService::GetInstance()->m_SendMessageToHdmiCec(
      kGetStatus, "powerstatus", "long", &zero, check_return, reply_key, reply_type, reply_value);
}

TEST_F(AvServiceCecTest, BridgeSendsEachArgumentTypeAsItsOwnEntryType) {
  OCString text_value = Utf8("words");
  long long_value = -9;
  float float_value = 2.5f;
  bool bool_value = true;
  char chars[] = "chars";
  const struct {
    const char* type;
    void* value;
    CMessage::Value expected;
  } rows[] = {
      {"OCString", &text_value, CMessage::Value(std::in_place_index<0>, Utf8("words"))},
      {"const char*", chars, CMessage::Value(std::in_place_index<1>, "chars")},
      {"long", &long_value, CMessage::Value(-9L)},
      {"float", &float_value, CMessage::Value(2.5f)},
      {"bool", &bool_value, CMessage::Value(true)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.type);
    receiver_.ClearRequests();
    // The simulator refuses the unknown name, so "return" is not checked here.
    EXPECT_TRUE(service()->m_SendMessageToHdmiCec("probe", "arg", row.type, row.value, false, "",
                                                  "", nullptr));
    ExpectOneRequest("probe", "arg", row.expected);
  }
}

TEST_F(AvServiceCecTest, BridgeSendsNothingForAnUnknownArgumentType) {
  long value = 1;
  for (const char* type : {"", "Long", "const char *", "int", "OCString "}) {
    SCOPED_TRACE(type);
    logging::ScopedLogCapture capture;
    EXPECT_FALSE(
        service()->m_SendMessageToHdmiCec("probe", "arg", type, &value, true, "", "", nullptr));
    EXPECT_EQ(std::vector<Line>{Error("Unknown strResultAnswerType!!")}, LinesOf(capture, kBridge));
  }
  EXPECT_TRUE(receiver_.requests().empty());
}

// One row of the bridge's failure handling, on the power-status request.
struct BridgeRow {
  const char* what;
  Fault fault;
  bool check_return;
  const char* reply_type;
  const char* reply_key;
  bool expected;
  long expected_status;  // what the reply variable holds afterwards (it starts at -5)
  std::vector<Line> lines;
};

TEST_F(AvServiceCecTest, BridgeFollowsTheReplyRules) {
  const std::string sent = std::string("[AV] >>> SendMessage : ") + kGetStatus;
  const BridgeRow rows[] = {
      {"success",
       Fault::kNone,
       true,
       "long",
       "power status",
       true,
       7,
       {Error(sent), Error("[AV] >>> return : true")}},
      {"empty reply, nothing asked of it",
       Fault::kEmptyReply,
       false,
       "",
       "",
       false,
       -5,
       {Error(sent), Error("[AV] >>> reply.NumOfQuery() is smaller than 0!")}},
      {"\"return\" not a bool",
       Fault::kReturnNotBool,
       true,
       "long",
       "power status",
       false,
       -5,
       {Error(sent), Error("[[AV] >>> reply.Query() is false")}},
      {"\"return\" false, value still read",
       Fault::kReturnFalse,
       true,
       "long",
       "power status",
       false,
       7,
       {Error(sent), Error("[AV] >>> return : false")}},
      {"\"return\" false but not checked",
       Fault::kReturnFalse,
       false,
       "long",
       "power status",
       true,
       7,
       {Error(sent)}},
      {"reply type not accepted",
       Fault::kNone,
       true,
       "const char*",
       "power status",
       false,
       -5,
       {Error(sent), Error("[AV] >>> return : true"), Error("Unknown strReplyAnswerType!!")}},
      {"reply value missing",
       Fault::kNone,
       true,
       "long",
       "powerstatus",
       false,
       -5,
       {Error(sent), Error("[AV] >>> return : true"), Info("[[AV] >>> reply.Query() is false")}},
      {"reply value of another type",
       Fault::kNone,
       true,
       "float",
       "power status",
       false,
       -5,
       {Error(sent), Error("[AV] >>> return : true"), Info("[[AV] >>> reply.Query() is false")}},
  };
  receiver_.SetPowerStatusOverride(7);
  for (const BridgeRow& row : rows) {
    SCOPED_TRACE(row.what);
    receiver_.SetFault(row.fault);
    receiver_.ClearRequests();
    long status = -5;
    logging::ScopedLogCapture capture;
    // A "float" reply type needs a float to write into; it must stay untouched here.
    float real = -5;
    void* target = std::string(row.reply_type) == "float" ? static_cast<void*>(&real) : &status;
    EXPECT_EQ(row.expected,
              AskPowerStatus(row.reply_type, target, row.check_return, row.reply_key));
    EXPECT_EQ(row.expected_status, status);
    EXPECT_EQ(-5, real);
    EXPECT_EQ(row.lines, LinesOf(capture, kBridge));
    ExpectOneRequest(kGetStatus, "powerstatus", CMessage::Value(0L));
  }
}

TEST_F(AvServiceCecTest, BridgeFailsWhenTheExchangeFails) {
  CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(100));
  const std::vector<Line> expected = {Error(std::string("[AV] >>> SendMessage : ") + kGetStatus),
                                      Error("[AV] >>> SendMessage() is false!")};
  long status = -5;
  {
    receiver_.SetFault(Fault::kNoReply);
    logging::ScopedLogCapture capture;
    EXPECT_FALSE(AskPowerStatus("long", &status));
    EXPECT_EQ(expected, LinesOf(capture, kBridge));
    EXPECT_EQ(1u, receiver_.requests().size());
  }
  {
    directory()->RemoveInstance(cec_sim::kCecApplicationName);
    logging::ScopedLogCapture capture;
    EXPECT_FALSE(AskPowerStatus("long", &status));
    EXPECT_EQ(expected, LinesOf(capture, kBridge));
    EXPECT_EQ(1u, receiver_.requests().size());
  }
  EXPECT_EQ(-5, status);
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

TEST_F(AvServiceCecTest, BridgeReadsEveryReplyTypeAndNeedsAReturn) {
  CMessage canned;
  canned.MakeResult(Utf8("s"), Utf8("text"));
  canned.MakeResult(Utf8("f"), 0.5f);
  canned.MakeResult(Utf8("b"), true);
  CannedApplication application(canned);
  directory()->RemoveInstance(cec_sim::kCecApplicationName);
  ASSERT_TRUE(directory()->AddLocalInstance(cec_sim::kCecApplicationName, &application));

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
  EXPECT_TRUE(capture.Has(logging::LOG_ERROR,
                          std::string(" #av#") + kBridge + "#  [[AV] >>> reply.Query() is false"));
}

TEST_F(AvServiceCecTest, SetPowerStateSwitchesTheReceiver) {
  for (const char* state : {"on", "off"}) {
    SCOPED_TRACE(state);
    const bool on = std::string(state) == "on";
    receiver_.SetPowerOn(!on);
    receiver_.ClearRequests();
    base::DictionaryValue result;
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultSuccess, service()->SetPowerState(*Args("power_state", state), &result));
    ExpectOneRequest("set_cec_receiver_on_off", "onoff", CMessage::Value(on));
    EXPECT_EQ(on, receiver_.power_on());
    EXPECT_TRUE(result.empty());
    const std::vector<Line> lines = {Info("AvService::SetPowerState"), Info("device_id = tv"),
                                     Info(std::string("power_state = ") + state)};
    EXPECT_EQ(lines, LinesOf(capture, "SetPowerState"));
  }
}

TEST_F(AvServiceCecTest, PowerAndSoundModeRefuseOtherWordsAndSendNothing) {
  const struct {
    const char* method;
    int (AvService::*call)(const base::DictionaryValue&, base::DictionaryValue*);
    const char* key;
    std::vector<const char*> words;
  } rows[] = {
      {"SetPowerState",
       &AvService::SetPowerState,
       "power_state",
       {"On", "ON", "Off", "1", "0", "true", " on", "on ", ""}},
      {"SetSoundMode",
       &AvService::SetSoundMode,
       "sound_mode",
       {"standard", "STANDARD", "music", "Clear Voice", "clearvoice", "CLEARVOICE", " Movie",
        "Amplify ", "0", ""}},
  };
  for (const auto& row : rows) {
    for (const char* word : row.words) {
      SCOPED_TRACE(std::string(row.method) + " '" + word + "'");
      base::DictionaryValue result;
      logging::ScopedLogCapture capture;
      EXPECT_EQ(kAvResultValueNotFound, (service()->*row.call)(*Args(row.key, word), &result));
      EXPECT_TRUE(capture.Has(
          logging::LOG_ERROR,
          " #av#" + std::string(row.method) + "#  [AV] >>> '" + row.key + "' is not found!"));
      EXPECT_TRUE(result.empty());
    }
  }
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, MissingOrMistypedArgumentsSendNothing) {
  typedef int (AvService::*Method)(const base::DictionaryValue&, base::DictionaryValue*);
  const struct {
    const char* method;
    Method call;
    const char* key;  // the value argument, or null
    const char* good;
  } rows[] = {
      {"SetPowerState", &AvService::SetPowerState, "power_state", "on"},
      {"GetPowerState", &AvService::GetPowerState, nullptr, nullptr},
      {"SetSoundMode", &AvService::SetSoundMode, "sound_mode", "Music"},
      {"GetSoundMode", &AvService::GetSoundMode, nullptr, nullptr},
      {"GetDeviceResources", &AvService::GetDeviceResources, nullptr, nullptr},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.method);
    std::vector<std::unique_ptr<base::DictionaryValue>> cases;
    cases.push_back(std::make_unique<base::DictionaryValue>());  // no device_id
    cases.push_back(std::make_unique<base::DictionaryValue>());
    cases.back()->SetInteger("device_id", 3);
    if (row.key) {
      cases[0]->SetString(row.key, row.good);
      cases[1]->SetString(row.key, row.good);
      cases.push_back(Args());  // value missing
      cases.push_back(Args());
      cases.back()->SetInteger(row.key, 1);
    }
    for (const auto& args : cases) {
      base::DictionaryValue result;
      logging::ScopedLogCapture capture;
      EXPECT_EQ(kAvResultInvalidParameter, (service()->*row.call)(*args, &result));
      EXPECT_TRUE(result.empty());
      const std::vector<Line> lines = {Info(std::string("AvService::") + row.method),
                                       Error("[AV] >>> Input parameter is invalid!")};
      EXPECT_EQ(lines, LinesOf(capture, row.method));
    }
  }
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, GetPowerStateMapsTheStatus) {
  const struct {
    bool override_status;
    long status;
    bool receiver_on;
    const char* expected;
  } rows[] = {
      {false, 0, false, "off"}, {false, 0, true, "on"}, {true, 0, true, "off"},
      {true, 1, false, "on"},   {true, 2, false, "on"}, {true, -1, false, "on"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.status);
    receiver_.SetPowerOn(row.receiver_on);
    if (row.override_status)
      receiver_.SetPowerStatusOverride(row.status);
    else
      receiver_.ClearPowerStatusOverride();
    receiver_.ClearRequests();
    base::DictionaryValue result;
    result.SetString("power_state", "stale");
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultSuccess, service()->GetPowerState(*Args(), &result));
    std::string state;
    EXPECT_TRUE(result.GetString("power_state", &state));
    EXPECT_EQ(row.expected, state);
    ExpectOneRequest(kGetStatus, "powerstatus", CMessage::Value(0L));
    EXPECT_EQ(std::vector<Line>{Info("AvService::GetPowerState")},
              LinesOf(capture, "GetPowerState"));
  }
}

TEST_F(AvServiceCecTest, FailedExchangesGiveCecFailureAndNoResult) {
  typedef int (AvService::*Method)(const base::DictionaryValue&, base::DictionaryValue*);
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
    receiver_.ClearRequests();
    base::DictionaryValue result;
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultCecFailure, (service()->*row.call)(*Args(row.key, row.value), &result));
    EXPECT_TRUE(result.empty());
    EXPECT_EQ(1u, receiver_.requests().size());
    const std::vector<Line> lines = LinesOf(capture, row.method);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(Error("[AV] >>> m_SendMessageToHdmiCec() is false!"), lines.back());
  }
  EXPECT_FALSE(receiver_.power_on());
  EXPECT_EQ(0, receiver_.sound_mode());
}

TEST_F(AvServiceCecTest, SetSoundModeSendsTheModeNumber) {
  const struct {
    const char* name;
    long number;
  } rows[] = {{"Music", 1}, {"Movie", 2}, {"ClearVoice", 3}, {"Amplify", 4}, {"Standard", 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    receiver_.ClearRequests();
    base::DictionaryValue result;
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultSuccess, service()->SetSoundMode(*Args("sound_mode", row.name), &result));
    ExpectOneRequest("set_smart_home_sound_mode", "sound mode", CMessage::Value(row.number));
    EXPECT_EQ(row.number, receiver_.sound_mode());
    EXPECT_TRUE(result.empty());
    const std::vector<Line> lines = {Info("AvService::SetSoundMode"), Info("device_id = tv"),
                                     Info(std::string("sound_mode = ") + row.name)};
    EXPECT_EQ(lines, LinesOf(capture, "SetSoundMode"));
  }
}

TEST_F(AvServiceCecTest, GetSoundModeNeverAsksTheReceiver) {
  receiver_.SetFault(Fault::kReturnFalse);
  auto args = Args("sound_mode", "Movie");
  base::DictionaryValue result;
  result.SetString("other", "kept");
  EXPECT_EQ(kAvResultSuccess, service()->GetSoundMode(*args, &result));
  std::string mode;
  EXPECT_TRUE(result.GetString("sound_mode", &mode));
  EXPECT_EQ("not_supported", mode);
  EXPECT_EQ(2u, result.size());
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, DeviceResourcesComeInTheirOrder) {
  EXPECT_STREQ("Operation", kResourceOperation);
  EXPECT_STREQ("Audio", kResourceAudio);
  EXPECT_STREQ("Information", kResourceInformation);
  base::DictionaryValue result;
  result.SetInteger("resources", 5);
  auto args = std::make_unique<base::DictionaryValue>();
  args->SetString("device_id", "");
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ(kAvResultSuccess, service()->GetDeviceResources(*args, &result));
    const base::ListValue* resources = nullptr;
    ASSERT_TRUE(result.GetList("resources", &resources));
    std::vector<std::string> names;
    for (const auto& value : *resources) {
      std::string name;
      EXPECT_TRUE(value->GetAsString(&name));
      names.push_back(name);
    }
    EXPECT_EQ((std::vector<std::string>{"Information", "Audio", "Operation"}), names);
  }
  EXPECT_EQ(1u, result.size());
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, SlowReceiverFailsTheCallAndTheNextCallGetsItsOwnAnswer) {
  CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(100));
  receiver_.SetReplyDelay(std::chrono::milliseconds(400));
  base::DictionaryValue result;
  EXPECT_EQ(kAvResultCecFailure, service()->SetSoundMode(*Args("sound_mode", "Amplify"), &result));
  // The late answer to the sound mode carries no "power status"; taking it for the answer
  // to the next request would fail that request.
  receiver_.SetReplyDelay(std::chrono::milliseconds(0));
  receiver_.SetPowerStatusOverride(3);
  CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(3000));
  EXPECT_EQ(kAvResultSuccess, service()->GetPowerState(*Args(), &result));
  std::string state;
  EXPECT_TRUE(result.GetString("power_state", &state));
  EXPECT_EQ("on", state);
  EXPECT_EQ(2u, receiver_.requests().size());
}

}  // namespace
}  // namespace plugin
