#include "plugin/device/av_plugin/stub/av_messages.h"

#include <cctype>
#include <fstream>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "ipc/test/hex_bytes.h"

namespace {

using IPC::test::HexBytes;
using IPC::test::ToHex;

const char kRequestFlags[] = "26000000";  // SYNC | UNBLOCK | PRIORITY_NORMAL
const char kReplyHeader[] = "ffffff7f f0ffffff 0a000000 0000 0000";  // after payload_size

// The whole message as hex: |header| (20 bytes), the message id, then |params|.
std::string Expected(const std::string& header, int id, const std::string& params) {
  return ToHex(HexBytes(header) + std::string(reinterpret_cast<const char*>(&id), 4) +
               HexBytes(params));
}

std::string Actual(const IPC::Message& msg) {
  return ToHex(msg.data(), msg.size());
}

device::_DeviceInfo SampleRecord() {
  device::_DeviceInfo info;
  info.device_id = "tv-1";
  info.plugin_name = "av_plugin";
  info.text_03 = info.text_04 = info.text_05 = "AV";
  info.discovery_datetime = "2024-01-02 03:04:05";
  info.text_19 = "never sent";
  info.number_21 = 30;
  info.rdf_properties = "{}";
  return info;
}

// The sample record as it travels: 21 elements.
const char kSampleRecordWire[] =
    "04000000 74762d31"                                      // device_id "tv-1"
    "09000000 61765f70 6c756769 6e000000"                    // plugin_name "av_plugin"
    "02000000 41560000 02000000 41560000 02000000 41560000"  // text_03..05 "AV"
    "00000000 00000000"                                      // text_06, text_07
    "13000000 32303234 2d30312d 30322030 333a3034 3a303500"  // discovery_datetime
    "00000000 00000000 00000000 00000000 00000000"           // text_09..13
    "00000000 00000000 00000000 00000000 00000000"           // text_14..18
    "00000000"                                               // text_20
    "1e000000"                                               // number_21 as UInt16 30, then padding
    "02000000 7b7d";                                         // rdf_properties "{}"

// Out-variables that the requests bind.
struct OutVars {
  base::DictionaryValue results;
  int code = -1;
  device::_DeviceInfo info;
  bool flag = false;
};

struct GoldenCase {
  const char* name;
  std::function<IPC::SyncMessage*(OutVars*)> request;
  std::string request_header;  // payload_size, routing, type
  std::string request_params;
  std::function<void(IPC::Message*)> write_reply;  // as the plugin's stub writes it
  std::string reply_payload_size;
  std::string reply_params;
  std::function<void(const OutVars&)> check_out_vars;
};

std::vector<GoldenCase> GoldenCases() {
  return {
      {"AvMsg_ServiceInvoke",
       [](OutVars* out) {
         base::DictionaryValue args;
         args.SetString("device_id", "tv-1");
         return new AvMsg_ServiceInvoke("GetSpeakerVolume", args, &out->results, &out->code);
       },
       "3c000000 ffffff7f 24007fd4",
       "10000000 47657453 7065616b 6572566f 6c756d65"  // "GetSpeakerVolume"
       "06000000 01000000"                             // dictionary of 1
       "09000000 64657669 63655f69 64000000"           // "device_id"
       "04000000 04000000 74762d31",                   // string "tv-1"
       [](IPC::Message* reply) {
         AvMsg_ServiceInvoke::ReplyParam p;
         p.a.SetInteger("speaker_volume", 0);
         p.b = 0;
         AvMsg_ServiceInvoke::Schema::WriteReplyParam(reply, p);
       },
       "2c000000",
       "06000000 01000000 0e000000 73706561 6b65725f 766f6c75 6d650000"  // "speaker_volume"
       "02000000 00000000"                                               // integer 0
       "00000000",                                                       // code 0
       [](const OutVars& out) {
         int volume = -1;
         EXPECT_TRUE(out.results.GetInteger("speaker_volume", &volume));
         EXPECT_EQ(0, volume);
         EXPECT_EQ(0, out.code);
       }},
      {"AvMsg_GetDeviceProperty",
       [](OutVars* out) { return new AvMsg_GetDeviceProperty("tv-1", &out->info, &out->flag); },
       "0c000000 ffffff7f 29007fd4", "04000000 74762d31",
       [](IPC::Message* reply) {
         AvMsg_GetDeviceProperty::Schema::WriteReplyParam(reply, MakeTuple(SampleRecord(), true));
       },
       "8d000000", std::string(kSampleRecordWire) + "0000 01",
       [](const OutVars& out) {
         device::_DeviceInfo expected = SampleRecord();
         expected.text_19.clear();
         EXPECT_EQ(expected, out.info);
         EXPECT_TRUE(out.flag);
       }},
      {"AvMsg_RegisterDeviceRequest",
       [](OutVars* out) { return new AvMsg_RegisterDeviceRequest("a", "bc", "def", &out->flag); },
       "1b000000 ffffff7f 2e007fd4", "01000000 61000000 02000000 62630000 03000000 646566",
       [](IPC::Message* reply) {
         AvMsg_RegisterDeviceRequest::Schema::WriteReplyParam(reply, MakeTuple(true));
       },
       "05000000", "01", [](const OutVars& out) { EXPECT_TRUE(out.flag); }},
      {"AvMsg_UnregisterDeviceRequest",
       [](OutVars* out) {
         out->flag = true;
         return new AvMsg_UnregisterDeviceRequest("x", "", &out->flag);
       },
       "10000000 ffffff7f 32007fd4", "01000000 78000000 00000000",
       [](IPC::Message* reply) {
         AvMsg_UnregisterDeviceRequest::Schema::WriteReplyParam(reply, MakeTuple(false));
       },
       "05000000", "00", [](const OutVars& out) { EXPECT_FALSE(out.flag); }},
      {"AvMsg_ManualRescanDevices",
       [](OutVars* out) { return new AvMsg_ManualRescanDevices(&out->flag); },
       "04000000 ffffff7f 34007fd4", "",
       [](IPC::Message* reply) {
         AvMsg_ManualRescanDevices::Schema::WriteReplyParam(reply, MakeTuple(true));
       },
       "05000000", "01", [](const OutVars& out) { EXPECT_TRUE(out.flag); }},
      {"AvMsg_DeleteDeviceRequest",
       [](OutVars* out) { return new AvMsg_DeleteDeviceRequest(&out->flag); },
       "04000000 ffffff7f 36007fd4", "",
       [](IPC::Message* reply) {
         AvMsg_DeleteDeviceRequest::Schema::WriteReplyParam(reply, MakeTuple(true));
       },
       "05000000", "01", [](const OutVars& out) { EXPECT_TRUE(out.flag); }},
  };
}

// Answers requests the way the plugin's stub does, with handlers that give the replies of
// GoldenCases().
class FakeStub : public IPC::Message::Sender {
 public:
  bool Send(IPC::Message* msg) override {
    sent.reset(msg);
    return true;
  }

  void Dispatch(const IPC::Message& msg) {
    switch (msg.type()) {
      case AvMsg_ServiceInvoke::ID:
        Handle<AvMsg_ServiceInvoke>(msg, &FakeStub::OnAvServiceInvokeMethod);
        break;
      case AvMsg_GetDeviceProperty::ID:
        Handle<AvMsg_GetDeviceProperty>(msg, &FakeStub::OnGetDeviceProperty);
        break;
      case AvMsg_RegisterDeviceRequest::ID:
        Handle<AvMsg_RegisterDeviceRequest>(msg, &FakeStub::OnRegisterDeviceRequest);
        break;
      case AvMsg_UnregisterDeviceRequest::ID:
        Handle<AvMsg_UnregisterDeviceRequest>(msg, &FakeStub::OnUnregisterDeviceRequest);
        break;
      case AvMsg_ManualRescanDevices::ID:
        Handle<AvMsg_ManualRescanDevices>(msg, &FakeStub::OnManualRescanDevices);
        break;
      case AvMsg_DeleteDeviceRequest::ID:
        Handle<AvMsg_DeleteDeviceRequest>(msg, &FakeStub::OnDeleteDeviceRequest);
        break;
    }
  }

  void OnAvServiceInvokeMethod(const std::string& method,
                               const base::DictionaryValue& args,
                               base::DictionaryValue* results,
                               int* code) {
    calls.push_back(method + " " + std::to_string(args.size()));
    results->SetInteger("speaker_volume", 0);
    *code = 0;
  }
  void OnGetDeviceProperty(const std::string& id, device::_DeviceInfo* info, bool* found) {
    calls.push_back(id);
    *info = SampleRecord();
    *found = true;
  }
  void OnRegisterDeviceRequest(const std::string& a,
                               const std::string& b,
                               const std::string& c,
                               bool* success) {
    calls.push_back(a + b + c);
    *success = true;
  }
  void OnUnregisterDeviceRequest(const std::string& a, const std::string& b, bool* success) {
    calls.push_back(a + b);
    *success = false;
  }
  void OnManualRescanDevices(bool* success) { *success = true; }
  void OnDeleteDeviceRequest(bool* success) { *success = true; }

  std::unique_ptr<IPC::Message> sent;
  std::vector<std::string> calls;

 private:
  template <class Msg, class Method>
  void Handle(const IPC::Message& msg, Method method) {
    typename Msg::SendParam p;
    const bool ok = Msg::ReadSendParam(&msg, &p);
    Msg::Schema::DispatchWithSendParams(ok, p, &msg, this, this, method);
  }
};

TEST(AvMessagesTest, RequestsAndRepliesOnTheWire) {
  for (const GoldenCase& c : GoldenCases()) {
    SCOPED_TRACE(c.name);
    OutVars out;
    std::unique_ptr<IPC::SyncMessage> request(c.request(&out));
    const int id = IPC::SyncMessage::GetMessageId(*request);
    EXPECT_EQ(Expected(c.request_header + kRequestFlags + "0000 0000", id, c.request_params),
              Actual(*request));

    std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(request.get()));
    c.write_reply(reply.get());
    EXPECT_EQ(Expected(c.reply_payload_size + kReplyHeader, id, c.reply_params), Actual(*reply));

    // The stub's dispatch through the message's schema sends the same bytes.
    FakeStub stub;
    stub.Dispatch(*request);
    ASSERT_TRUE(stub.sent);
    EXPECT_EQ(Actual(*reply), Actual(*stub.sent));

    // The client's deserializer fills the out-variables bound at construction.
    std::unique_ptr<IPC::MessageReplyDeserializer> deserializer(request->GetReplyDeserializer());
    ASSERT_TRUE(deserializer->SerializeOutputParameters(*reply));
    c.check_out_vars(out);
  }
}

TEST(AvMessagesTest, TypeNumbersKeepTheirTopBit) {
  EXPECT_EQ(3565092900u, AvMsg_ServiceInvoke::ID);
  EXPECT_EQ(-729874396, static_cast<int32_t>(AvMsg_ServiceInvoke::ID));
  bool found;
  device::_DeviceInfo info;
  AvMsg_GetDeviceProperty request("tv-1", &info, &found);
  EXPECT_EQ(3565092905u, request.type());
}

TEST(AvMessagesTest, RequestsDecodeToWhatWasSent) {
  OutVars out;
  base::DictionaryValue args;
  args.SetString("power_state", "on");
  AvMsg_ServiceInvoke invoke("SetPowerState", args, &out.results, &out.code);
  AvMsg_ServiceInvoke::SendParam invoke_params;
  ASSERT_TRUE(AvMsg_ServiceInvoke::ReadSendParam(&invoke, &invoke_params));
  EXPECT_EQ("SetPowerState", invoke_params.a);
  EXPECT_TRUE(invoke_params.b.Equals(&args));

  AvMsg_RegisterDeviceRequest reg("a", "", "c", &out.flag);
  AvMsg_RegisterDeviceRequest::SendParam reg_params;
  ASSERT_TRUE(AvMsg_RegisterDeviceRequest::ReadSendParam(&reg, &reg_params));
  EXPECT_EQ("a", reg_params.a);
  EXPECT_EQ("", reg_params.b);
  EXPECT_EQ("c", reg_params.c);

  FakeStub stub;
  stub.Dispatch(invoke);
  stub.Dispatch(reg);
  EXPECT_EQ(std::vector<std::string>({"SetPowerState 1", "ac"}), stub.calls);
}

// |msg| with only the first |length| bytes of its payload.
IPC::Message Truncated(const IPC::Message& msg, size_t length) {
  IPC::Message copy(msg.routing_id(), msg.type(), msg.priority());
  copy.WriteBytes(msg.payload(), static_cast<int>(length));
  return copy;
}

TEST(AvMessagesTest, TruncatedMessagesDecodeToFalse) {
  OutVars out;
  base::DictionaryValue args;
  args.SetString("device_id", "tv-1");
  args.SetInteger("level", 3);
  const struct {
    const char* name;
    std::shared_ptr<IPC::Message> msg;
    std::function<bool(const IPC::Message*)> decode;
  } kCases[] = {
      {"invoke request",
       std::make_shared<AvMsg_ServiceInvoke>("SetVolume", args, &out.results, &out.code),
       [](const IPC::Message* m) {
         AvMsg_ServiceInvoke::SendParam p;
         return AvMsg_ServiceInvoke::ReadSendParam(m, &p);
       }},
      {"property request", std::make_shared<AvMsg_GetDeviceProperty>("tv-1", &out.info, &out.flag),
       [](const IPC::Message* m) {
         AvMsg_GetDeviceProperty::SendParam p;
         return AvMsg_GetDeviceProperty::ReadSendParam(m, &p);
       }},
      {"register request",
       std::make_shared<AvMsg_RegisterDeviceRequest>("ab", "c", "def", &out.flag),
       [](const IPC::Message* m) {
         AvMsg_RegisterDeviceRequest::SendParam p;
         return AvMsg_RegisterDeviceRequest::ReadSendParam(m, &p);
       }},
      {"unregister request", std::make_shared<AvMsg_UnregisterDeviceRequest>("ab", "c", &out.flag),
       [](const IPC::Message* m) {
         AvMsg_UnregisterDeviceRequest::SendParam p;
         return AvMsg_UnregisterDeviceRequest::ReadSendParam(m, &p);
       }},
  };
  for (const auto& c : kCases) {
    ASSERT_TRUE(c.decode(c.msg.get())) << c.name;
    for (size_t length = 0; length < c.msg->payload_size(); ++length) {
      IPC::Message truncated = Truncated(*c.msg, length);
      EXPECT_FALSE(c.decode(&truncated)) << c.name << " cut to " << length;
    }
  }

  // Replies too: each element must be there, down to the last 1-byte bool.
  for (const GoldenCase& g : GoldenCases()) {
    std::unique_ptr<IPC::SyncMessage> request(g.request(&out));
    std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(request.get()));
    g.write_reply(reply.get());
    std::unique_ptr<IPC::MessageReplyDeserializer> deserializer(request->GetReplyDeserializer());
    for (size_t length = 0; length < reply->payload_size(); ++length) {
      IPC::Message truncated = Truncated(*reply, length);
      EXPECT_FALSE(deserializer->SerializeOutputParameters(truncated))
          << g.name << " reply cut to " << length;
    }
  }
}

TEST(DeviceInfoTraitsTest, EmptyRecordIsTwentyEmptyStringsAndAZeroUInt16) {
  IPC::Message msg;
  IPC::WriteParam(&msg, device::_DeviceInfo());
  EXPECT_EQ(ToHex(HexBytes("00000000 00000000 00000000 00000000 00000000"  // fields 1-5
                           "00000000 00000000 00000000 00000000 00000000"  // 6-10
                           "00000000 00000000 00000000 00000000 00000000"  // 11-15
                           "00000000 00000000 00000000 00000000"           // 16-18, 20
                           "00000000"                                      // number_21
                           "00000000")),                                   // 22
            ToHex(msg.payload(), msg.payload_size()));
  PickleIterator iter(msg);
  device::_DeviceInfo read = SampleRecord();
  read.text_19.clear();
  ASSERT_TRUE(IPC::ReadParam(&msg, &iter, &read));
  EXPECT_EQ(device::_DeviceInfo(), read);
}

TEST(DeviceInfoTraitsTest, Text19StaysWithTheReader) {
  device::_DeviceInfo sent = SampleRecord();
  IPC::Message msg;
  IPC::WriteParam(&msg, sent);
  EXPECT_EQ(ToHex(HexBytes(kSampleRecordWire)), ToHex(msg.payload(), msg.payload_size()));

  device::_DeviceInfo read;
  read.text_19 = "the reader's own";
  PickleIterator iter(msg);
  ASSERT_TRUE(IPC::ReadParam(&msg, &iter, &read));
  sent.text_19 = "the reader's own";
  EXPECT_EQ(sent, read);
}

TEST(DeviceInfoTraitsTest, PartialReads) {
  // Byte offsets into kSampleRecordWire: text_03 starts at 24, number_21 at 124 and
  // rdf_properties at 128; the record ends at 134.
  const struct {
    size_t length;
    bool ok;
    const char* plugin_name;
    const char* text_03;
    int number_21;
    const char* rdf_properties;
  } kCases[] = {
      {0, false, "old", "old", 0, "old"},         {29, false, "av_plugin", "old", 0, "old"},
      {125, false, "av_plugin", "AV", 0, "old"},  {126, false, "av_plugin", "AV", 30, "old"},
      {133, false, "av_plugin", "AV", 30, "old"}, {134, true, "av_plugin", "AV", 30, "{}"},
  };
  const std::string wire = HexBytes(kSampleRecordWire);
  ASSERT_EQ(134u, wire.size());
  for (const auto& c : kCases) {
    IPC::Message msg;
    msg.WriteBytes(wire.data(), static_cast<int>(c.length));
    device::_DeviceInfo read;
    read.plugin_name = read.text_03 = read.text_19 = read.rdf_properties = "old";
    read.number_21 = 77;
    PickleIterator iter(msg);
    EXPECT_EQ(c.ok, IPC::ReadParam(&msg, &iter, &read)) << c.length;
    EXPECT_EQ(c.plugin_name, read.plugin_name) << c.length;
    EXPECT_EQ(c.text_03, read.text_03) << c.length;
    EXPECT_EQ(c.number_21, read.number_21) << c.length;
    EXPECT_EQ(c.rdf_properties, read.rdf_properties) << c.length;
    EXPECT_EQ("old", read.text_19) << c.length;
  }
}

TEST(DeviceInfoTraitsTest, Number21KeepsTheLowByteOfTheUInt16) {
  const std::string wire = HexBytes(
      "00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 "
      "00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 "
      "00000000 2c010000 00000000");  // 19 empty strings, UInt16 300, an empty string
  IPC::Message msg;
  msg.WriteBytes(wire.data(), static_cast<int>(wire.size()));
  device::_DeviceInfo read;
  PickleIterator iter(msg);
  ASSERT_TRUE(IPC::ReadParam(&msg, &iter, &read));
  EXPECT_EQ(44, read.number_21);
}

std::string RecordRendering() {
  return "device::DeviceInfo: {\n\t tv-1\n\t av_plugin\n\t AV\n\t AV\n\t AV\n\t \n\t "
         "\n\t 2024-01-02 03:04:05\n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t "
         "\n\t 30\n\t {}}";
}

TEST(AvMessagesTest, Log) {
  OutVars out;
  base::DictionaryValue args;
  args.SetString("device_id", "tv-1");
  AvMsg_ServiceInvoke invoke("GetSpeakerVolume", args, &out.results, &out.code);
  std::unique_ptr<IPC::Message> invoke_reply(IPC::SyncMessage::GenerateReply(&invoke));
  AvMsg_ServiceInvoke::ReplyParam invoke_result;
  invoke_result.a.SetInteger("speaker_volume", 0);
  invoke_result.b = 107;
  AvMsg_ServiceInvoke::Schema::WriteReplyParam(invoke_reply.get(), invoke_result);

  AvMsg_GetDeviceProperty property("tv-1", &out.info, &out.flag);
  std::unique_ptr<IPC::Message> property_reply(IPC::SyncMessage::GenerateReply(&property));
  AvMsg_GetDeviceProperty::Schema::WriteReplyParam(property_reply.get(),
                                                   MakeTuple(SampleRecord(), false));

  AvMsg_RegisterDeviceRequest reg("a", "bc", "def", &out.flag);
  AvMsg_UnregisterDeviceRequest unreg("x", "", &out.flag);
  AvMsg_ManualRescanDevices rescan(&out.flag);
  std::unique_ptr<IPC::Message> rescan_reply(IPC::SyncMessage::GenerateReply(&rescan));
  AvMsg_ManualRescanDevices::Schema::WriteReplyParam(rescan_reply.get(), MakeTuple(true));
  AvMsg_DeleteDeviceRequest del(&out.flag);
  std::unique_ptr<IPC::Message> del_reply(IPC::SyncMessage::GenerateReply(&del));
  AvMsg_DeleteDeviceRequest::Schema::WriteReplyParam(del_reply.get(), MakeTuple(false));
  IPC::Message cut_invoke = Truncated(invoke, invoke.payload_size() - 1);
  cut_invoke.set_sync();

  typedef void (*LogFunction)(std::string*, const IPC::Message*, std::string*);
  const struct {
    LogFunction log;
    const IPC::Message* msg;
    const char* name;
    std::string rendering;
  } kCases[] = {
      {&AvMsg_ServiceInvoke::Log, &invoke, "AvMsg_ServiceInvoke",
       "GetSpeakerVolume, {\"device_id\":\"tv-1\"}"},
      {&AvMsg_ServiceInvoke::Log, invoke_reply.get(), "AvMsg_ServiceInvoke",
       "{\"speaker_volume\":0}, 107"},
      {&AvMsg_ServiceInvoke::Log, &cut_invoke, "AvMsg_ServiceInvoke", ""},
      {&AvMsg_GetDeviceProperty::Log, &property, "AvMsg_GetDeviceProperty", "tv-1"},
      {&AvMsg_GetDeviceProperty::Log, property_reply.get(), "AvMsg_GetDeviceProperty",
       RecordRendering() + ", false"},
      {&AvMsg_RegisterDeviceRequest::Log, &reg, "AvMsg_RegisterDeviceRequest", "a, bc, def"},
      {&AvMsg_UnregisterDeviceRequest::Log, &unreg, "AvMsg_UnregisterDeviceRequest", "x, "},
      {&AvMsg_ManualRescanDevices::Log, &rescan, "AvMsg_ManualRescanDevices", ""},
      {&AvMsg_ManualRescanDevices::Log, rescan_reply.get(), "AvMsg_ManualRescanDevices", "true"},
      {&AvMsg_DeleteDeviceRequest::Log, &del, "AvMsg_DeleteDeviceRequest", ""},
      {&AvMsg_DeleteDeviceRequest::Log, del_reply.get(), "AvMsg_DeleteDeviceRequest", "false"},
      {&AvMsg_DeleteDeviceRequest::Log, nullptr, "AvMsg_DeleteDeviceRequest", ""},
  };
  for (const auto& c : kCases) {
    std::string name = "unset";
    std::string l = "> ";
    c.log(&name, c.msg, &l);
    EXPECT_EQ(c.name, name);
    EXPECT_EQ("> " + c.rendering, l) << c.name;
    // Without a name to set, the rendering is the same.
    l = "> ";
    c.log(nullptr, c.msg, &l);
    EXPECT_EQ("> " + c.rendering, l) << c.name;
  }
  std::string name;
  AvMsg_ServiceInvoke::Log(&name, &invoke, nullptr);
  EXPECT_EQ("AvMsg_ServiceInvoke", name);
}

// The wire document --------------------------------------------------------------------

std::string ReadWireDocument() {
  std::ifstream file(std::string(TARN_SOURCE_DIR) + "/docs/wire-format.md");
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

bool IsHexPair(const std::string& token) {
  return token.size() == 2 && std::isxdigit(static_cast<unsigned char>(token[0])) &&
         std::isxdigit(static_cast<unsigned char>(token[1]));
}

// The bytes of the code block that follows "<!-- |marker| -->" in |doc|. With
// |with_offsets|, each line reads "<hex offset>  <bytes>  <meaning>" and the offsets must
// follow on from each other; otherwise every token is a byte.
std::string DocumentBytes(const std::string& doc, const std::string& marker, bool with_offsets) {
  const size_t at = doc.find("<!-- " + marker + " -->");
  EXPECT_NE(std::string::npos, at) << marker;
  const size_t begin = doc.find("```text\n", at);
  const size_t end = doc.find("```\n", begin + 8);
  if (at == std::string::npos || begin == std::string::npos || end == std::string::npos)
    return std::string();
  std::istringstream lines(doc.substr(begin + 8, end - begin - 8));
  std::string line;
  std::string bytes;
  while (std::getline(lines, line)) {
    std::istringstream tokens(line);
    std::string token;
    if (with_offsets) {
      tokens >> token;
      EXPECT_EQ(bytes.size(), std::stoul(token, nullptr, 16)) << marker << ": " << line;
    }
    while (tokens >> token && IsHexPair(token))
      bytes.push_back(static_cast<char>(std::stoi(token, nullptr, 16)));
  }
  return bytes;
}

// |msg|'s bytes with its message id replaced by |id|.
std::string WithMessageId(const IPC::Message& msg, int id) {
  std::string bytes(static_cast<const char*>(msg.data()), msg.size());
  bytes.replace(IPC::Message::kHeaderSize, sizeof(id), reinterpret_cast<const char*>(&id),
                sizeof(id));
  return bytes;
}

TEST(WireDocumentTest, ExamplesAreWhatTheCodeSends) {
  const std::string doc = ReadWireDocument();
  ASSERT_FALSE(doc.empty());

  OutVars out;
  base::DictionaryValue args;
  args.SetString("device_id", "tv-1");
  AvMsg_ServiceInvoke request("GetSpeakerVolume", args, &out.results, &out.code);
  EXPECT_EQ(ToHex(WithMessageId(request, 1)), ToHex(DocumentBytes(doc, "example:request", true)));

  std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(&request));
  AvMsg_ServiceInvoke::ReplyParam results;
  results.a.SetInteger("speaker_volume", 0);
  results.b = 0;
  AvMsg_ServiceInvoke::Schema::WriteReplyParam(reply.get(), results);
  EXPECT_EQ(ToHex(WithMessageId(*reply, 1)), ToHex(DocumentBytes(doc, "example:reply", true)));

  std::unique_ptr<IPC::Message> error_reply(IPC::SyncMessage::GenerateReply(&request));
  error_reply->set_reply_error();
  EXPECT_EQ(ToHex(WithMessageId(*error_reply, 1)),
            ToHex(DocumentBytes(doc, "bytes:error-reply", false)));

  IPC::Message hello(IPC::MSG_ROUTING_NONE, IPC::HELLO_MESSAGE_TYPE, IPC::Message::PRIORITY_NORMAL);
  hello.WriteInt(1234);
  EXPECT_EQ(Actual(hello), ToHex(DocumentBytes(doc, "bytes:hello", false)));
}

}  // namespace
