// Writes the fuzzers' seed corpus: for each fuzz target a few well-formed inputs, made
// with the messages' own encoders, under <dir>/<target>/.
//
//   fuzz_seed_writer fuzz/corpus

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>

#include "base/values.h"
#include "fuzz/fuzz_util.h"
#include "ipc/ipc_message_framing.h"
#include "ipc/ipc_message_utils.h"
#include "ipc/ipc_sync_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "tools/control/control_messages.h"
#include "tvapp/wire_format.h"

namespace {

std::string g_root;

void Fail(const std::string& what) {
  std::perror(what.c_str());
  std::exit(1);
}

void WriteSeed(const std::string& target, const std::string& name, const std::string& bytes) {
  const std::string dir = g_root + "/" + target;
  if (mkdir(dir.c_str(), 0755) != 0 && errno != EEXIST)
    Fail(dir);
  const std::string path = dir + "/" + name;
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
      std::fclose(file) != 0) {
    Fail(path);
  }
}

// The seeds of one message's request and reply fuzzers: the payloads, message id included,
// of |request| and of its reply |reply|.
template <class Msg>
void WriteMessageSeeds(const char* op,
                       const char* name,
                       const typename Msg::SendParam& request,
                       const typename Msg::ReplyParam& reply) {
  const std::string target = std::string("av_") + op;
  WriteSeed(target + "_request_fuzzer", name,
            fuzz::SyncPayload(&Msg::Schema::WriteSendParam, request));
  WriteSeed(target + "_reply_fuzzer", name,
            fuzz::SyncPayload(&Msg::Schema::WriteReplyParam, reply));
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

void WriteValueSeeds() {
  base::DictionaryValue all;
  AddEveryKindOfValue(&all);
  base::ListValue nested;
  base::ListValue* inner = new base::ListValue;
  inner->Append(base::Value::CreateStringValue("deep"));
  nested.Append(inner);
  base::DictionaryValue empty;
  const std::pair<const char*, const base::Value*> seeds[] = {
      {"every_kind", &all}, {"empty_dictionary", &empty}, {"nested_list", &nested}};
  for (const auto& [name, value] : seeds) {
    IPC::Message msg;
    IPC::WriteParam(&msg, *value);
    WriteSeed("value_pickle_fuzzer", name, fuzz::PayloadOf(msg));
  }
}

void WriteCatalogueSeeds() {
  AvMsg_ServiceInvoke::SendParam volume;
  volume.a = "GetSpeakerVolume";
  volume.b.SetString("device_id", "tv-1");
  AvMsg_ServiceInvoke::ReplyParam volume_reply;
  volume_reply.a.SetInteger("speaker_volume", 0);
  WriteMessageSeeds<AvMsg_ServiceInvoke>("service_invoke", "get_speaker_volume", volume,
                                         volume_reply);
  AvMsg_ServiceInvoke::SendParam every;
  every.a = "SetPowerState";
  AddEveryKindOfValue(&every.b);
  AvMsg_ServiceInvoke::ReplyParam copy;
  copy.a.Set("copy", every.b.DeepCopy());
  copy.b = 107;
  WriteMessageSeeds<AvMsg_ServiceInvoke>("service_invoke", "every_kind", every, copy);

  device::_DeviceInfo record;
  record.device_id = "tv-1";
  record.plugin_name = "av_plugin";
  record.text_03 = record.text_04 = record.text_05 = "AV";
  record.discovery_datetime = "2024-01-02 03:04:05";
  record.number_21 = 30;
  record.rdf_properties = "{\"power\":\"on\"}";
  const std::string tv = "tv-1";
  const std::string plugin = "av_plugin";
  const std::string none;
  WriteMessageSeeds<AvMsg_GetDeviceProperty>("get_device_property", "found", MakeTuple(tv),
                                             MakeTuple(record, true));
  WriteMessageSeeds<AvMsg_GetDeviceProperty>("get_device_property", "not_found", MakeTuple(none),
                                             MakeTuple(device::_DeviceInfo(), false));
  WriteMessageSeeds<AvMsg_RegisterDeviceRequest>(
      "register_device", "three", MakeTuple(tv, plugin, std::string("AV")), MakeTuple(true));
  WriteMessageSeeds<AvMsg_RegisterDeviceRequest>("register_device", "empty",
                                                 MakeTuple(none, none, none), MakeTuple(false));
  WriteMessageSeeds<AvMsg_UnregisterDeviceRequest>("unregister_device", "two",
                                                   MakeTuple(tv, plugin), MakeTuple(true));
  WriteMessageSeeds<AvMsg_ManualRescanDevices>("manual_rescan", "plain", Tuple0(), MakeTuple(true));
  WriteMessageSeeds<AvMsg_DeleteDeviceRequest>("delete_device", "plain", Tuple0(),
                                               MakeTuple(false));
}

// The whole serialised message, header included, as it travels on a channel.
std::string WholeOf(const IPC::Message& msg) {
  return std::string(static_cast<const char*>(msg.data()), msg.size());
}

void WriteFramingSeeds() {
  std::unique_ptr<IPC::Message> hello(IPC::CreateHelloMessage(4242));
  base::DictionaryValue args;
  args.SetString("device_id", "tv-1");
  base::DictionaryValue results;
  int code = 0;
  AvMsg_ServiceInvoke request("GetSpeakerVolume", args, &results, &code);
  std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(&request));
  AvMsg_ServiceInvoke::Schema::WriteReplyParam(reply.get(), AvMsg_ServiceInvoke::ReplyParam());
  const std::string stream = WholeOf(*hello) + WholeOf(request) + WholeOf(*reply);
  WriteSeed("ipc_framing_fuzzer", "hello", WholeOf(*hello));
  WriteSeed("ipc_framing_fuzzer", "hello_request_reply", stream);
  WriteSeed("ipc_framing_fuzzer", "cut_inside_request", stream.substr(0, stream.size() - 30));
}

void WriteWireSeeds() {
  namespace wire = ORVELL0300::wire;
  auto utf8 = [](const char* text) { return OCString(text, OCString::kTextEncodingUtf8); };
  wire::Frame request;
  request.request_id = 7;
  request.message_type = 20792;
  request.message.SetName(utf8("n"));
  request.message.MakeResult(utf8("b"), true);
  wire::Frame reply;
  reply.kind = wire::kReplyFrame;
  reply.request_id = 7;
  reply.message_type = -3;
  reply.message.SetName(utf8("caf\xc3\xa9"));
  reply.message.MakeResult(utf8("s"), utf8(""));
  reply.message.MakeResult(utf8("t"), "text");
  reply.message.MakeResult(utf8("l"), -2147483647L - 1);
  reply.message.MakeResult(utf8("f"), -0.25f);
  reply.message.MakeResult(utf8("b"), false);
  std::string one;
  std::string stream;
  if (!wire::EncodeFrame(request, &one) || !wire::EncodeFrame(request, &stream) ||
      !wire::EncodeFrame(reply, &stream)) {
    std::fprintf(stderr, "a seed frame does not encode\n");
    std::exit(1);
  }
  WriteSeed("tvapp_wire_fuzzer", "request", one);
  WriteSeed("tvapp_wire_fuzzer", "request_reply_and_a_cut_one", stream + one.substr(0, 9));
}

void WriteControlSeeds() {
  const std::string target = "control_messages_fuzzer";
  int status = 0;
  bool result = false;
  ControlMsg_InvokeMethod invoke("av_plugin", "AvManagerImpl", "OnDiscovery", "tv-1", &status,
                                 &result);
  WriteSeed(target, "invoke_request", fuzz::PayloadOf(invoke));
  WriteSeed(target, "invoke_reply",
            fuzz::SyncPayload(&ControlMsg_InvokeMethod::Schema::WriteReplyParam,
                              ControlMsg_InvokeMethod::ReplyParam(control::kInvokeOk, true)));
  ControlMsg_Subscribe subscribe(ControlMsg_Subscribe::kAllEvents, &result);
  WriteSeed(target, "subscribe_request", fuzz::PayloadOf(subscribe));
  WriteSeed(target, "event", fuzz::PayloadOf(ControlMsg_Event(35, {"tv-1", "av_plugin", ""})));
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s <corpus dir>\n", argv[0]);
    return 2;
  }
  g_root = argv[1];
  if (mkdir(g_root.c_str(), 0755) != 0 && errno != EEXIST)
    Fail(g_root);
  WriteValueSeeds();
  WriteCatalogueSeeds();
  WriteFramingSeeds();
  WriteWireSeeds();
  WriteControlSeeds();
  return 0;
}
