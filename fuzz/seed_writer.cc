// Writes the fuzzers' seed corpus: for each fuzz target a few well-formed inputs, made
// with the messages' own encoders, under <dir>/<target>/.
//
//   fuzz_seed_writer fuzz/corpus

#include <cstdio>
#include <filesystem>
#include <fstream>

#include "fuzz/fuzz_util.h"
#include "ipc/ipc_message_framing.h"
#include "ipc/ipc_sync_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "tools/control/control_messages.h"
#include "tvapp/wire_format.h"

namespace {

namespace wire = ORVELL0300::wire;

// One seed: the file <dir>/<target>/<name> holding |bytes|.
struct Seed {
  std::string target;
  std::string name;
  std::string bytes;
};

// The seeds of |Msg|'s request and reply fuzzers: the payloads, message id included, of
// |request| and of its reply |reply|.
template <class Msg>
void AddMessage(std::vector<Seed>* seeds,
                const std::string& op,
                const char* name,
                const typename Msg::SendParam& request,
                const typename Msg::ReplyParam& reply) {
  seeds->push_back({"av_" + op + "_request_fuzzer", name,
                    fuzz::SyncPayload(&Msg::Schema::WriteSendParam, request)});
  seeds->push_back({"av_" + op + "_reply_fuzzer", name,
                    fuzz::SyncPayload(&Msg::Schema::WriteReplyParam, reply)});
}

// The whole serialised message, header included, as it travels on a channel.
std::string WholeOf(const IPC::Message& msg) {
  return std::string(static_cast<const char*>(msg.data()), msg.size());
}

void AddEveryKindOfValue(base::DictionaryValue* dict) {
  dict->Set("null", base::Value::CreateNullValue());
  dict->SetBoolean("boolean", true);
  dict->SetInteger("integer", -7);
  dict->SetDouble("double", 0.25);
  dict->SetString("string", "text");
  dict->Set("binary", base::BinaryValue::CreateWithCopiedBuffer("\x01\x02\x03", 3));
  base::ListValue* list = new base::ListValue;
  list->Append(base::Value::CreateIntegerValue(1));
  list->Append(new base::DictionaryValue);
  dict->Set("list", list);
}

std::vector<Seed> Seeds() {
  AvMsg_ServiceInvoke::SendParam volume;
  volume.a = "GetSpeakerVolume";
  volume.b.SetString("device_id", "tv-1");
  AvMsg_ServiceInvoke::SendParam every;
  every.a = "SetPowerState";
  AddEveryKindOfValue(&every.b);
  AvMsg_ServiceInvoke::ReplyParam copy;
  copy.a.Set("copy", every.b.DeepCopy());
  copy.b = 107;
  device::_DeviceInfo record;
  record.device_id = "tv-1";
  record.plugin_name = "av_plugin";
  record.text_03 = record.text_04 = record.text_05 = "AV";
  record.discovery_datetime = "2024-01-02 03:04:05";
  record.number_21 = 30;
  record.rdf_properties = "{\"power\":\"on\"}";
  const std::string tv = "tv-1", plugin = "av_plugin";
  std::vector<Seed> seeds;
  AddMessage<AvMsg_ServiceInvoke>(&seeds, "service_invoke", "every_kind", every, copy);
  AddMessage<AvMsg_GetDeviceProperty>(&seeds, "get_device_property", "found", MakeTuple(tv),
                                      MakeTuple(record, true));
  AddMessage<AvMsg_RegisterDeviceRequest>(&seeds, "register_device", "three",
                                          MakeTuple(tv, plugin, std::string("AV")),
                                          MakeTuple(true));
  AddMessage<AvMsg_UnregisterDeviceRequest>(&seeds, "unregister_device", "two",
                                            MakeTuple(tv, plugin), MakeTuple(true));
  AddMessage<AvMsg_ManualRescanDevices>(&seeds, "manual_rescan", "plain", Tuple0(),
                                        MakeTuple(true));
  AddMessage<AvMsg_DeleteDeviceRequest>(&seeds, "delete_device", "plain", Tuple0(),
                                        MakeTuple(false));

  std::unique_ptr<IPC::Message> hello(IPC::CreateHelloMessage(4242));
  base::DictionaryValue results;
  int code = 0;
  AvMsg_ServiceInvoke request("GetSpeakerVolume", volume.b, &results, &code);
  std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(&request));
  AvMsg_ServiceInvoke::Schema::WriteReplyParam(reply.get(), AvMsg_ServiceInvoke::ReplyParam());
  const std::string stream = WholeOf(*hello) + WholeOf(request) + WholeOf(*reply);

  auto utf8 = [](const char* text) { return OCString(text, OCString::kTextEncodingUtf8); };
  wire::Frame frame_request;
  frame_request.request_id = 7;
  frame_request.message_type = 20792;
  frame_request.message.SetName(utf8("n"));
  frame_request.message.MakeResult(utf8("b"), true);
  wire::Frame frame_reply;
  frame_reply.kind = wire::kReplyFrame;
  frame_reply.request_id = 7;
  frame_reply.message_type = -3;
  frame_reply.message.SetName(utf8("caf\xc3\xa9"));
  frame_reply.message.MakeResult(utf8("s"), utf8(""));
  frame_reply.message.MakeResult(utf8("t"), "text");
  frame_reply.message.MakeResult(utf8("l"), -2147483647L - 1);
  frame_reply.message.MakeResult(utf8("f"), -0.25f);
  frame_reply.message.MakeResult(utf8("b"), false);
  std::string one_frame;
  std::string frames;
  CHECK(wire::EncodeFrame(frame_request, &one_frame) && wire::EncodeFrame(frame_request, &frames) &&
        wire::EncodeFrame(frame_reply, &frames));

  typedef ControlMsg_InvokeMethod Invoke;
  int status = 0;
  bool result = false;
  const Invoke invoke("av_plugin", "AvManagerImpl", "OnDiscovery", "tv-1", &status, &result);
  const char kControl[] = "control_messages_fuzzer";
  seeds.insert(
      seeds.end(),
      {
          {"value_pickle_fuzzer", "every_kind", fuzz::ValuePayload(every.b)},
          {"value_pickle_fuzzer", "empty_dictionary", fuzz::ValuePayload(base::DictionaryValue())},
          {"ipc_framing_fuzzer", "hello_request_reply", stream},
          {"ipc_framing_fuzzer", "cut_inside_request", stream.substr(0, stream.size() - 30)},
          {"tvapp_wire_fuzzer", "request", one_frame},
          {"tvapp_wire_fuzzer", "request_reply_and_a_cut_one", frames + one_frame.substr(0, 9)},
          {kControl, "invoke_request", fuzz::PayloadOf(invoke)},
          {kControl, "invoke_reply",
           fuzz::SyncPayload(&Invoke::Schema::WriteReplyParam,
                             Invoke::ReplyParam(control::kInvokeOk, true))},
          {kControl, "subscribe_request",
           fuzz::PayloadOf(ControlMsg_Subscribe(ControlMsg_Subscribe::kAllEvents, &result))},
          {kControl, "event", fuzz::PayloadOf(ControlMsg_Event(35, {"tv-1", "av_plugin", ""}))},
      });
  return seeds;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <corpus dir>\n", argv[0]);
    return 2;
  }
  for (const Seed& seed : Seeds()) {
    const std::filesystem::path dir = std::filesystem::path(argv[1]) / seed.target;
    std::filesystem::create_directories(dir);
    std::ofstream file(dir / seed.name, std::ios::binary);
    if (!file.write(seed.bytes.data(), seed.bytes.size()).flush()) {
      std::fprintf(stderr, "cannot write %s\n", (dir / seed.name).c_str());
      return 1;
    }
  }
  return 0;
}
