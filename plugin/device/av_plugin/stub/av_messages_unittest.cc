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

const char kReplyHeader[] = "ffffff7f f0ffffff 0a000000 0000 0000";  // after payload_size

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

// The wire document, docs/wire-format.md.
std::string ReadWireDocument() {
  std::ifstream file(std::string(TARN_SOURCE_DIR) + "/docs/wire-format.md");
  std::stringstream text;
  text << file.rdbuf();
  return text.str();
}

// The bytes of the code block that follows "<!-- |marker| -->" in |doc|. With
// |with_offsets|, each line reads "<hex offset>  <bytes>  <meaning>" and the offsets must
// follow on from each other; otherwise every token is a byte.
std::string DocumentBytes(const std::string& doc, const std::string& marker, bool with_offsets) {
  const size_t begin = doc.find("```text\n", doc.find("<!-- " + marker + " -->"));
  const size_t end = doc.find("```\n", begin + 8);
  if (begin == std::string::npos || end == std::string::npos)
    return std::string();  // no such block: compares unequal with any message
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
    while (tokens >> token && token.size() == 2 && std::isxdigit(uint8_t(token[0])) &&
           std::isxdigit(uint8_t(token[1])))
      bytes.push_back(static_cast<char>(std::stoi(token, nullptr, 16)));
  }
  return bytes;
}

// |msg| as hex, with its message id replaced by 1, as in the examples.
std::string Hex(const IPC::Message& msg) {
  std::string bytes(static_cast<const char*>(msg.data()), msg.size());
  return ToHex(bytes.replace(IPC::Message::kHeaderSize, 4, std::string("\x01\0\0\0", 4)));
}

// The whole message as hex: |header| (20 bytes), message id 1, then |params|.
std::string Expected(const std::string& header, const std::string& params) {
  return ToHex(HexBytes(header + "01000000" + params));
}

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
  std::function<void(IPC::Message*)> write_reply;  // as the plugin's stub writes it
  // Empty header and payload size: the wire document's worked example has the bytes.
  std::string request_header;  // payload_size, routing, type
  std::string request_params;
  std::string reply_payload_size;
  std::string reply_params;
  std::string request_log;
  std::string reply_log;
  void (*log)(std::string* name, const IPC::Message* msg, std::string* l);
};

// A reply writer for the messages whose reply is one bool.
template <class Msg>
std::function<void(IPC::Message*)> BoolReply(bool value) {
  return [value](IPC::Message* m) { Msg::Schema::WriteReplyParam(m, MakeTuple(value)); };
}

std::vector<GoldenCase> GoldenCases() {
  return {
      {"AvMsg_ServiceInvoke",
       [](OutVars* out) {
         base::DictionaryValue args;
         args.SetString("device_id", "tv-1");
         return new AvMsg_ServiceInvoke("GetSpeakerVolume", args, &out->results, &out->code);
       },
       [](IPC::Message* reply) {
         AvMsg_ServiceInvoke::ReplyParam p;
         p.a.SetInteger("speaker_volume", 0);
         p.b = 0;
         AvMsg_ServiceInvoke::Schema::WriteReplyParam(reply, p);
       },
       "", "", "", "", "GetSpeakerVolume, {\"device_id\":\"tv-1\"}", "{\"speaker_volume\":0}, 0",
       &AvMsg_ServiceInvoke::Log},
      {"AvMsg_GetDeviceProperty",
       [](OutVars* out) { return new AvMsg_GetDeviceProperty("tv-1", &out->info, &out->flag); },
       [](IPC::Message* reply) {
         AvMsg_GetDeviceProperty::Schema::WriteReplyParam(reply, MakeTuple(SampleRecord(), true));
       },
       "0c000000 ffffff7f 29007fd4", "04000000 74762d31", "8d000000",
       std::string(kSampleRecordWire) + "0000 01", "tv-1", std::string(kSampleRecordLog) + ", true",
       &AvMsg_GetDeviceProperty::Log},
      {"AvMsg_RegisterDeviceRequest",
       [](OutVars* out) { return new AvMsg_RegisterDeviceRequest("a", "bc", "def", &out->flag); },
       BoolReply<AvMsg_RegisterDeviceRequest>(true), "1b000000 ffffff7f 2e007fd4",
       "01000000 61000000 02000000 62630000 03000000 646566", "05000000", "01", "a, bc, def",
       "true", &AvMsg_RegisterDeviceRequest::Log},
      {"AvMsg_UnregisterDeviceRequest",
       [](OutVars* out) { return new AvMsg_UnregisterDeviceRequest("x", "", &out->flag); },
       BoolReply<AvMsg_UnregisterDeviceRequest>(false), "10000000 ffffff7f 32007fd4",
       "01000000 78000000 00000000", "05000000", "00", "x, ", "false",
       &AvMsg_UnregisterDeviceRequest::Log},
      {"AvMsg_ManualRescanDevices",
       [](OutVars* out) { return new AvMsg_ManualRescanDevices(&out->flag); },
       BoolReply<AvMsg_ManualRescanDevices>(true), "04000000 ffffff7f 34007fd4", "", "05000000",
       "01", "", "true", &AvMsg_ManualRescanDevices::Log},
      {"AvMsg_DeleteDeviceRequest",
       [](OutVars* out) { return new AvMsg_DeleteDeviceRequest(&out->flag); },
       BoolReply<AvMsg_DeleteDeviceRequest>(false), "04000000 ffffff7f 36007fd4", "", "05000000",
       "00", "", "false", &AvMsg_DeleteDeviceRequest::Log},
  };
}

// Each message's request and reply against their bytes (the worked example's in the wire
// document, the others' here), the client's reading of the reply and the log renderings.
TEST(AvMessagesTest, RequestsRepliesAndTheirLogRenderings) {
  const std::string doc = ReadWireDocument();
  ASSERT_FALSE(doc.empty());
  for (const GoldenCase& c : GoldenCases()) {
    SCOPED_TRACE(c.name);
    OutVars out;
    std::unique_ptr<IPC::SyncMessage> request(c.request(&out));
    std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(request.get()));
    c.write_reply(reply.get());
    if (c.request_header.empty()) {
      EXPECT_EQ(ToHex(DocumentBytes(doc, "example:request", true)), Hex(*request));
      EXPECT_EQ(ToHex(DocumentBytes(doc, "example:reply", true)), Hex(*reply));
    } else {
      // Flags SYNC | UNBLOCK | PRIORITY_NORMAL.
      EXPECT_EQ(Expected(c.request_header + "26000000 0000 0000", c.request_params), Hex(*request));
      EXPECT_EQ(Expected(c.reply_payload_size + kReplyHeader, c.reply_params), Hex(*reply));
    }

    // The client refuses a reply cut anywhere, down to the last bool, and takes the whole.
    std::unique_ptr<IPC::MessageReplyDeserializer> deserializer(request->GetReplyDeserializer());
    for (size_t length = 0; length < reply->payload_size(); ++length) {
      IPC::Message cut(reply->routing_id(), reply->type(), reply->priority());
      cut.WriteBytes(reply->payload(), static_cast<int>(length));
      EXPECT_FALSE(deserializer->SerializeOutputParameters(cut)) << "reply cut to " << length;
    }
    EXPECT_TRUE(deserializer->SerializeOutputParameters(*reply));

    // The log names the message and renders its parameters; the name may be left out.
    std::string name;
    std::string l;
    c.log(&name, request.get(), &l);
    l += " | ";
    c.log(nullptr, reply.get(), &l);
    EXPECT_EQ(std::string(c.name) + ": " + c.request_log + " | " + c.reply_log, name + ": " + l);
  }

  // The error reply and the hello of the document.
  OutVars out;
  AvMsg_ManualRescanDevices request(&out.flag);
  std::unique_ptr<IPC::Message> error_reply(IPC::SyncMessage::GenerateReply(&request));
  error_reply->set_reply_error();
  EXPECT_EQ(ToHex(DocumentBytes(doc, "bytes:error-reply", false)), Hex(*error_reply));
  IPC::Message hello(IPC::MSG_ROUTING_NONE, IPC::HELLO_MESSAGE_TYPE, IPC::Message::PRIORITY_NORMAL);
  hello.WriteInt(1234);
  EXPECT_EQ(ToHex(DocumentBytes(doc, "bytes:hello", false)), ToHex(hello.data(), hello.size()));
}

// A cut record is refused at every length above; what a whole one leaves alone or narrows:
TEST(DeviceInfoTraitsTest, ReaderKeepsText19AndTheLowByteOfNumber21) {
  const std::string wide = std::string(76, '\0') + HexBytes("2c010000 00000000");  // 300
  IPC::Message msg;
  msg.WriteBytes(wide.data(), static_cast<int>(wide.size()));
  device::_DeviceInfo read;
  read.text_19 = "kept";
  PickleIterator iter(msg);
  ASSERT_TRUE(IPC::ReadParam(&msg, &iter, &read));
  EXPECT_EQ(44, read.number_21);
  EXPECT_EQ("kept", read.text_19);
}

}  // namespace
