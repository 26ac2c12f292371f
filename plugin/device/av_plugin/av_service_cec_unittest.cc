// The service methods that reach the receiver, run through the TV application framework
// against the receiver simulator registered in this process as the CEC application.

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/json/json_writer.h"
#include "base/synchronization/waitable_event.h"
#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_log.h"
#include "plugin/device/av_plugin/av_service.h"
#include "tvapp/application_base.h"
#include "tvapp/instance_directory.h"
#include "tvapp/instance_server.h"
#include "tvapp/message_handler.h"
#include "tvapp/query_handle.h"
#include "tvapp/simulator/receiver_simulator.h"
#include "tvapp/test/scoped_socket_dir.h"

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

std::string Json(const base::DictionaryValue& value) {
  std::string json;
  base::JSONWriter::Write(&value, &json);
  return json;
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

// A service method that takes one word, and the CEC request it turns that word into.
struct Setter {
  const char* method;
  Method call;
  const char* key;
  const char* cec_message;
  const char* cec_key;
};
const Setter kPower = {"SetPowerState", &AvService::SetPowerState, "power_state",
                       "set_cec_receiver_on_off", "onoff"};
const Setter kSound = {"SetSoundMode", &AvService::SetSoundMode, "sound_mode",
                       "set_smart_home_sound_mode", "sound mode"};

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
  const Line ok = Error("[AV] >>> return : true");
  const Line unread = Info("[[AV] >>> reply.Query() is false");
  const Line no_reply = Error("[AV] >>> SendMessage() is false!");
  const Line empty = Error("[AV] >>> reply.NumOfQuery() is smaller than 0!");
  const Line no_return = Error("[[AV] >>> reply.Query() is false");
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
    logging::ScopedLogCapture capture;
    EXPECT_EQ(rows[i].expected, AskPowerStatus(rows[i].type, &status, rows[i].check, rows[i].key));
    EXPECT_EQ(rows[i].status, status);
    EXPECT_EQ(rows[i].lines, LinesOf(capture, "m_SendMessageToHdmiCec"));
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

TEST_F(AvServiceCecTest, SettersSendTheMappedValue) {
  const struct {
    const Setter& setter;
    const char* word;
    CMessage::Value sent;
  } rows[] = {
      {kPower, "on", CMessage::Value(true)},     {kPower, "off", CMessage::Value(false)},
      {kSound, "Standard", CMessage::Value(0L)}, {kSound, "Music", CMessage::Value(1L)},
      {kSound, "Movie", CMessage::Value(2L)},    {kSound, "ClearVoice", CMessage::Value(3L)},
      {kSound, "Amplify", CMessage::Value(4L)},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.word);
    const Setter& s = row.setter;
    base::DictionaryValue result;
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultSuccess, (service()->*s.call)(*Args(s.key, row.word), &result));
    EXPECT_TRUE(result.empty());
    const std::vector<Line> lines = {Info(std::string("AvService::") + s.method),
                                     Info("device_id = tv"),
                                     Info(std::string(s.key) + " = " + row.word)};
    EXPECT_EQ(lines, LinesOf(capture, s.method));
    ExpectOneRequest(s.cec_message, s.cec_key, row.sent);
  }
}

TEST_F(AvServiceCecTest, OtherWordsAndMissingArgumentsSendNothing) {
  const struct {
    const Setter& setter;
    std::vector<const char*> words;
  } rows[] = {
      {kPower, {"On", "ON", "Off", "1", "true", " on", "on ", ""}},
      {kSound, {"standard", "MUSIC", "Clear Voice", "clearvoice", " Movie", "Amplify ", "0", ""}},
  };
  for (const auto& row : rows) {
    const Setter& s = row.setter;
    SCOPED_TRACE(s.method);
    for (const char* word : row.words) {
      base::DictionaryValue result;
      logging::ScopedLogCapture capture;
      EXPECT_EQ(kAvResultValueNotFound, (service()->*s.call)(*Args(s.key, word), &result));
      EXPECT_EQ(Error(std::string("[AV] >>> '") + s.key + "' is not found!"),
                LinesOf(capture, s.method).back());
    }
    // A missing device_id is refused before the (valid) value is looked at.
    base::DictionaryValue args;
    args.SetString(s.key, row.words[0]);
    base::DictionaryValue result;
    EXPECT_EQ(kAvResultInvalidParameter, (service()->*s.call)(args, &result));
    EXPECT_EQ(kAvResultInvalidParameter, (service()->*s.call)(*Args(), &result));
    args.SetInteger("device_id", 1);
    EXPECT_EQ(kAvResultInvalidParameter, (service()->*s.call)(args, &result));
    EXPECT_TRUE(result.empty());
  }
  base::DictionaryValue result;
  EXPECT_EQ(kAvResultInvalidParameter, service()->GetPowerState(base::DictionaryValue(), &result));
  EXPECT_TRUE(result.empty());
  EXPECT_TRUE(receiver_.requests().empty());
}

TEST_F(AvServiceCecTest, GetPowerStateMapsZeroToOffAndAnythingElseToOn) {
  // The receiver's power, the status it is made to answer (if any), the state expected.
  const struct {
    bool receiver_on;
    bool override_status;
    long status;
    const char* expected;
  } rows[] = {{false, false, 0, "off"},
              {true, false, 0, "on"},
              {true, true, 0, "off"},
              {false, true, 2, "on"},
              {false, true, -1, "on"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.status);
    receiver_.SetPowerOn(row.receiver_on);
    if (row.override_status)
      receiver_.SetPowerStatusOverride(row.status);
    base::DictionaryValue result;
    result.SetString("power_state", "stale");
    EXPECT_EQ(kAvResultSuccess, service()->GetPowerState(*Args(), &result));
    EXPECT_EQ(std::string("{\"power_state\":\"") + row.expected + "\"}", Json(result));
    ExpectOneRequest(kGetStatus, "powerstatus", CMessage::Value(0L));
  }
}

TEST_F(AvServiceCecTest, RefusedExchangesGiveCecFailureAndNoResult) {
  const Setter kGetPower = {"GetPowerState", &AvService::GetPowerState, nullptr, nullptr, nullptr};
  const struct {
    const Setter& setter;
    const char* word;
  } rows[] = {{kPower, "on"}, {kGetPower, nullptr}, {kSound, "Movie"}};
  receiver_.SetFault(Fault::kReturnFalse);
  receiver_.SetPowerStatusOverride(1);
  for (const auto& row : rows) {
    const Setter& s = row.setter;
    SCOPED_TRACE(s.method);
    base::DictionaryValue result;
    logging::ScopedLogCapture capture;
    EXPECT_EQ(kAvResultCecFailure, (service()->*s.call)(*Args(s.key, row.word), &result));
    EXPECT_TRUE(result.empty());
    EXPECT_EQ(1u, receiver_.requests().size());
    receiver_.ClearRequests();
    EXPECT_EQ(Error("[AV] >>> m_SendMessageToHdmiCec() is false!"),
              LinesOf(capture, s.method).back());
  }
}

// A request whose sender gave up changes nothing: not when the receiver was still waiting
// out its delay, and not when the request was still waiting behind another one.
TEST_F(AvServiceCecTest, LateRequestsLeaveTheReceiverAsItWasInProcessAndOverTheSocket) {
  const std::string off = R"({"power_state":"off"})";
  auto power_state = [] {
    base::DictionaryValue result;
    service()->GetPowerState(*Args(), &result);
    return Json(result);
  };
  auto set_limit = [](int ms) {
    CQueryHandle::GetApplication()->SetReplyTimeLimit(std::chrono::milliseconds(ms));
  };
  ORVELL0300::ScopedSocketDir dir;
  ORVELL0300::CInstanceServer server(&receiver_);
  for (bool over_socket : {false, true}) {
    SCOPED_TRACE(over_socket ? "over the socket" : "in process");
    if (over_socket) {
      std::string error;
      ASSERT_TRUE(server.Start(dir.Path("cec.sock"), &error)) << error;
      Directory()->RemoveInstance(cec_sim::kCecApplicationName);
      ASSERT_TRUE(
          Directory()->AddRemoteInstance(cec_sim::kCecApplicationName, dir.Path("cec.sock")));
    }
    receiver_.SetReplyDelay(std::chrono::hours(1));
    set_limit(50);
    base::DictionaryValue result;
    EXPECT_EQ(kAvResultCecFailure, service()->SetPowerState(*Args("power_state", "on"), &result));
    receiver_.SetReplyDelay(std::chrono::milliseconds(0));
    set_limit(5000);
    EXPECT_EQ(off, power_state());

    // The receiver holds a power query until released; a request sent meanwhile times out.
    base::WaitableEvent held(true, false);
    base::WaitableEvent release(true, false);
    receiver_.SetRequestObserver([&](const ReceiverSimulator::Request&) {
      held.Signal();
      release.Wait();
    });
    auto first = std::async(std::launch::async, power_state);
    held.Wait();
    receiver_.SetRequestObserver(nullptr);
    set_limit(50);
    EXPECT_EQ(kAvResultCecFailure, service()->SetSoundMode(*Args("sound_mode", "Movie"), &result));
    set_limit(5000);
    release.Signal();
    EXPECT_EQ(off, first.get());
    // Served after the withdrawn request, which never reached the receiver.
    EXPECT_EQ(off, power_state());
    EXPECT_EQ(0, receiver_.sound_mode());
    const auto requests = receiver_.requests();
    EXPECT_TRUE(std::none_of(requests.begin(), requests.end(), [](const auto& request) {
      return request.message.GetName().text() == kSound.cec_message;
    }));
    receiver_.ClearRequests();
  }
}

TEST_F(AvServiceCecTest, SoundModeQueryAndResourcesAnswerWithoutTheReceiver) {
  base::DictionaryValue result;
  result.SetInteger("resources", 5);
  EXPECT_EQ(kAvResultSuccess, service()->GetSoundMode(*Args("sound_mode", "Movie"), &result));
  EXPECT_EQ(kAvResultSuccess, service()->GetDeviceResources(*Args(), &result));
  EXPECT_EQ(
      "{\"resources\":[\"Information\",\"Audio\",\"Operation\"],\"sound_mode\":\"not_supported\"}",
      Json(result));
  EXPECT_TRUE(receiver_.requests().empty());
}

}  // namespace
}  // namespace plugin
