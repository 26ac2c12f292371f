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

const char kRequestFlags[] = "26000000 0000 0000";  // SYNC | UNBLOCK | PRIORITY_NORMAL
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

// How the sample record renders in a log line.
const char kSampleRecordLog[] =
    "device::DeviceInfo: {\n\t tv-1\n\t av_plugin\n\t AV\n\t AV\n\t AV\n\t \n\t \n\t "
    "2024-01-02 03:04:05\n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t \n\t 30\n\t {}}";

// Out-variables that the requests bind.
struct OutVars {
  base::DictionaryValue results;
  int code = -1;
  device::_DeviceInfo info;
  bool flag = false;
};

// Which out-variables a reply fills.
enum Filled { kResultsAndCode, kRecordAndFlag, kFlag };

// The out-variables that |filled| names, rendered the way the reply's log renders them.
std::string Render(const OutVars& out, Filled filled) {
  std::string l;
  if (filled == kResultsAndCode) {
    IPC::LogParam(out.results, &l);
    return l + ", " + std::to_string(out.code);
  }
  if (filled == kRecordAndFlag) {
    IPC::LogParam(out.info, &l);
    l += ", ";
  }
  return l + (out.flag ? "true" : "false");
}

typedef void (*LogFunction)(std::string*, const IPC::Message*, std::string*);

struct GoldenCase {
  const char* name;
  std::function<IPC::SyncMessage*(OutVars*)> request;
  std::string request_header;  // payload_size, routing, type
  std::string request_params;
  std::string request_log;
  std::function<void(IPC::Message*)> write_reply;  // as the plugin's stub writes it
  std::string reply_payload_size;
  std::string reply_params;
  std::string reply_log;  // also how the out-variables render once the reply is read
  Filled filled;
  // Filled by Case<Msg>().
  LogFunction log = nullptr;
  std::function<bool(const IPC::Message&)> decode_request = nullptr;
};

template <class Msg>
GoldenCase Case(GoldenCase c) {
  c.log = &Msg::Log;
  c.decode_request = [](const IPC::Message& m) {
    typename Msg::SendParam p;
    return Msg::ReadSendParam(&m, &p);
  };
  return c;
}

// A reply writer for the messages whose reply is one bool.
template <class Msg>
std::function<void(IPC::Message*)> BoolReply(bool value) {
  return [value](IPC::Message* m) { Msg::Schema::WriteReplyParam(m, MakeTuple(value)); };
}

std::vector<GoldenCase> GoldenCases() {
  return {
      Case<AvMsg_ServiceInvoke>(
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
           "GetSpeakerVolume, {\"device_id\":\"tv-1\"}",
           [](IPC::Message* reply) {
             AvMsg_ServiceInvoke::ReplyParam p;
             p.a.SetInteger("speaker_volume", 0);
             p.b = 107;
             AvMsg_ServiceInvoke::Schema::WriteReplyParam(reply, p);
           },
           "2c000000",
           "06000000 01000000 0e000000 73706561 6b65725f 766f6c75 6d650000"  // "speaker_volume"
           "02000000 00000000"                                               // integer 0
           "6b000000",                                                       // code 107
           "{\"speaker_volume\":0}, 107", kResultsAndCode}),
      Case<AvMsg_GetDeviceProperty>(
          {"AvMsg_GetDeviceProperty",
           [](OutVars* out) { return new AvMsg_GetDeviceProperty("tv-1", &out->info, &out->flag); },
           "0c000000 ffffff7f 29007fd4", "04000000 74762d31", "tv-1",
           [](IPC::Message* reply) {
             AvMsg_GetDeviceProperty::Schema::WriteReplyParam(reply,
                                                              MakeTuple(SampleRecord(), true));
           },
           "8d000000", std::string(kSampleRecordWire) + "0000 01",
           std::string(kSampleRecordLog) + ", true", kRecordAndFlag}),
      Case<AvMsg_RegisterDeviceRequest>(
          {"AvMsg_RegisterDeviceRequest",
           [](OutVars* out) {
             return new AvMsg_RegisterDeviceRequest("a", "bc", "def", &out->flag);
           },
           "1b000000 ffffff7f 2e007fd4", "01000000 61000000 02000000 62630000 03000000 646566",
           "a, bc, def", BoolReply<AvMsg_RegisterDeviceRequest>(true), "05000000", "01", "true",
           kFlag}),
      Case<AvMsg_UnregisterDeviceRequest>(
          {"AvMsg_UnregisterDeviceRequest",
           [](OutVars* out) {
             out->flag = true;
             return new AvMsg_UnregisterDeviceRequest("x", "", &out->flag);
           },
           "10000000 ffffff7f 32007fd4", "01000000 78000000 00000000", "x, ",
           BoolReply<AvMsg_UnregisterDeviceRequest>(false), "05000000", "00", "false", kFlag}),
      Case<AvMsg_ManualRescanDevices>(
          {"AvMsg_ManualRescanDevices",
           [](OutVars* out) { return new AvMsg_ManualRescanDevices(&out->flag); },
           "04000000 ffffff7f 34007fd4", "", "", BoolReply<AvMsg_ManualRescanDevices>(true),
           "05000000", "01", "true", kFlag}),
      Case<AvMsg_DeleteDeviceRequest>({"AvMsg_DeleteDeviceRequest",
                                       [](OutVars* out) {
                                         out->flag = true;
                                         return new AvMsg_DeleteDeviceRequest(&out->flag);
                                       },
                                       "04000000 ffffff7f 36007fd4", "", "",
                                       BoolReply<AvMsg_DeleteDeviceRequest>(false), "05000000",
                                       "00", "false", kFlag}),
  };
}

// |msg| with only the first |length| bytes of its payload.
IPC::Message Truncated(const IPC::Message& msg, size_t length) {
  IPC::Message copy(msg.routing_id(), msg.type(), msg.priority());
  copy.WriteBytes(msg.payload(), static_cast<int>(length));
  return copy;
}

TEST(AvMessagesTest, RequestsRepliesAndTheirLogRenderings) {
  for (const GoldenCase& c : GoldenCases()) {
    SCOPED_TRACE(c.name);
    OutVars out;
    std::unique_ptr<IPC::SyncMessage> request(c.request(&out));
    const int id = IPC::SyncMessage::GetMessageId(*request);
    EXPECT_EQ(Expected(c.request_header + kRequestFlags, id, c.request_params), Actual(*request));
    ASSERT_TRUE(c.decode_request(*request));

    std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(request.get()));
    c.write_reply(reply.get());
    EXPECT_EQ(Expected(c.reply_payload_size + kReplyHeader, id, c.reply_params), Actual(*reply));

    // The client's deserializer fills the out-variables bound at construction, and refuses
    // a reply cut anywhere: each element must be there, down to the last bool. A request with
    // parameters is refused cut anywhere too.
    std::unique_ptr<IPC::MessageReplyDeserializer> deserializer(request->GetReplyDeserializer());
    for (size_t length = 0; length < reply->payload_size(); ++length) {
      EXPECT_FALSE(deserializer->SerializeOutputParameters(Truncated(*reply, length)))
          << "reply cut to " << length;
    }
    for (size_t length = 0; length < request->payload_size() && !c.request_params.empty(); ++length)
      EXPECT_FALSE(c.decode_request(Truncated(*request, length))) << "request cut to " << length;
    ASSERT_TRUE(deserializer->SerializeOutputParameters(*reply));
    EXPECT_EQ(c.reply_log, Render(out, c.filled));

    // The log names the message, with or without a rendering, and renders what decodes:
    // nothing of a request cut short, nor of no message.
    IPC::Message cut = Truncated(*request, request->payload_size() - 1);
    cut.set_sync();
    const std::pair<const IPC::Message*, std::string> logs[] = {
        {request.get(), c.request_log}, {reply.get(), c.reply_log}, {&cut, ""}, {nullptr, ""}};
    for (const auto& [msg, rendering] : logs) {
      std::string name;
      std::string l = "> ";
      c.log(&name, msg, &l);
      EXPECT_EQ("> " + rendering, l);
      EXPECT_EQ(c.name, name);
      c.log(nullptr, msg, &l);
      EXPECT_EQ("> " + rendering + rendering, l);
    }
    std::string name;
    c.log(&name, request.get(), nullptr);
    EXPECT_EQ(c.name, name);
  }
}

TEST(DeviceInfoTraitsTest, WholeEmptyWideAndPartialRecords) {
  const std::string sample = HexBytes(kSampleRecordWire);
  ASSERT_EQ(134u, sample.size());
  // Nineteen empty strings, number_21 as a padded UInt16, then the empty rdf_properties.
  const std::string empty = std::string(76, '\0') + HexBytes("00000000 00000000");
  const std::string wide = std::string(76, '\0') + HexBytes("2c010000 00000000");  // 300
  IPC::Message written;
  IPC::WriteParam(&written, device::_DeviceInfo());
  EXPECT_EQ(ToHex(empty), ToHex(written.payload(), written.payload_size()));
  // In the sample, text_03 starts at byte 24, number_21 at 124 and rdf_properties at 128.
  const struct {
    const std::string& wire;
    size_t length;
    bool ok;
    const char* plugin_name;
    const char* text_03;
    int number_21;
    const char* rdf_properties;
  } rows[] = {
      {sample, 0, false, "old", "old", 0, "old"},
      {sample, 29, false, "av_plugin", "old", 0, "old"},
      {sample, 125, false, "av_plugin", "AV", 0, "old"},
      {sample, 126, false, "av_plugin", "AV", 30, "old"},
      {sample, 133, false, "av_plugin", "AV", 30, "old"},
      {sample, 134, true, "av_plugin", "AV", 30, "{}"},
      {empty, empty.size(), true, "", "", 0, ""},
      {wide, wide.size(), true, "", "", 44, ""},  // the low byte of 300
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.wire.size() << "/" << row.length);
    IPC::Message msg;
    msg.WriteBytes(row.wire.data(), static_cast<int>(row.length));
    device::_DeviceInfo read;
    read.plugin_name = read.text_03 = read.text_19 = read.rdf_properties = "old";
    read.number_21 = 77;
    PickleIterator iter(msg);
    EXPECT_EQ(row.ok, IPC::ReadParam(&msg, &iter, &read));
    EXPECT_EQ(row.plugin_name, read.plugin_name);
    EXPECT_EQ(row.text_03, read.text_03);
    EXPECT_EQ(row.number_21, read.number_21);
    EXPECT_EQ(row.rdf_properties, read.rdf_properties);
    EXPECT_EQ("old", read.text_19);  // text_19 stays with the reader
  }
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
