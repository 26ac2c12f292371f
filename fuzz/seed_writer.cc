// Writes the fuzzers' seed corpus: for each fuzz target a few well-formed inputs, made
// with the catalogue's own constructors and reply writers, under <dir>/<target>/.
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

bool MakeDir(const std::string& path) {
  return mkdir(path.c_str(), 0755) == 0 || errno == EEXIST;
}

void WriteSeed(const std::string& target, const std::string& name, const std::string& bytes) {
  const std::string dir = g_root + "/" + target;
  if (!MakeDir(dir)) {
    std::perror(dir.c_str());
    std::exit(1);
  }
  const std::string path = dir + "/" + name;
  FILE* file = std::fopen(path.c_str(), "wb");
  if (!file || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size() ||
      std::fclose(file) != 0) {
    std::perror(path.c_str());
    std::exit(1);
  }
}

// The request's payload (message id included), and the payload of its reply carrying
// |reply|. Takes ownership of |request|.
template <class Msg>
void WriteMessageSeeds(const std::string& op,
                       const std::string& name,
                       Msg* request,
                       const typename Msg::ReplyParam& reply) {
  std::unique_ptr<Msg> owned(request);
  WriteSeed("av_" + op + "_request_fuzzer", name, fuzz::PayloadOf(*request));
  std::unique_ptr<IPC::Message> reply_msg(IPC::SyncMessage::GenerateReply(request));
  Msg::Schema::WriteReplyParam(reply_msg.get(), reply);
  WriteSeed("av_" + op + "_reply_fuzzer", name, fuzz::PayloadOf(*reply_msg));
}

base::DictionaryValue* EveryKindOfValue() {
  base::DictionaryValue* dict = new base::DictionaryValue;
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
  return dict;
}

void WriteValueSeeds() {
  std::unique_ptr<base::DictionaryValue> all(EveryKindOfValue());
  base::DictionaryValue empty;
  base::ListValue nested;
  base::ListValue* inner = new base::ListValue;
  inner->Append(base::Value::CreateStringValue("deep"));
  nested.Append(inner);
  const base::Value* values[] = {all.get(), &empty, &nested};
  const char* names[] = {"every_kind", "empty_dictionary", "nested_list"};
  for (size_t i = 0; i < 3; ++i) {
    IPC::Message msg;
    IPC::WriteParam(&msg, *values[i]);
    WriteSeed("value_pickle_fuzzer", names[i], fuzz::PayloadOf(msg));
  }
}

void WriteCatalogueSeeds() {
  base::DictionaryValue results;
  int code = 0;
  device::_DeviceInfo info;
  bool flag = false;

  base::DictionaryValue volume_args;
  volume_args.SetString("device_id", "tv-1");
  AvMsg_ServiceInvoke::ReplyParam volume;
  volume.a.SetInteger("speaker_volume", 0);
  WriteMessageSeeds("service_invoke", "get_speaker_volume",
                    new AvMsg_ServiceInvoke("GetSpeakerVolume", volume_args, &results, &code),
                    volume);
  std::unique_ptr<base::DictionaryValue> all(EveryKindOfValue());
  AvMsg_ServiceInvoke::ReplyParam copy;
  copy.a.Set("copy", all->DeepCopy());
  copy.b = 107;
  WriteMessageSeeds("service_invoke", "every_kind",
                    new AvMsg_ServiceInvoke("SetPowerState", *all, &results, &code), copy);

  device::_DeviceInfo record;
  record.device_id = "tv-1";
  record.plugin_name = "av_plugin";
  record.text_03 = record.text_04 = record.text_05 = "AV";
  record.discovery_datetime = "2024-01-02 03:04:05";
  record.number_21 = 30;
  record.rdf_properties = "{\"power\":\"on\"}";
  WriteMessageSeeds("get_device_property", "found",
                    new AvMsg_GetDeviceProperty("tv-1", &info, &flag), MakeTuple(record, true));
  WriteMessageSeeds("get_device_property", "not_found",
                    new AvMsg_GetDeviceProperty("", &info, &flag),
                    MakeTuple(device::_DeviceInfo(), false));

  WriteMessageSeeds("register_device", "three",
                    new AvMsg_RegisterDeviceRequest("tv-1", "av_plugin", "AV", &flag),
                    MakeTuple(true));
  WriteMessageSeeds("register_device", "empty", new AvMsg_RegisterDeviceRequest("", "", "", &flag),
                    MakeTuple(false));
  WriteMessageSeeds("unregister_device", "two",
                    new AvMsg_UnregisterDeviceRequest("tv-1", "av_plugin", &flag), MakeTuple(true));
  WriteMessageSeeds("manual_rescan", "plain", new AvMsg_ManualRescanDevices(&flag),
                    MakeTuple(true));
  WriteMessageSeeds("delete_device", "plain", new AvMsg_DeleteDeviceRequest(&flag),
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
  const OCString::ETextEncoding utf8 = OCString::kTextEncodingUtf8;
  wire::Frame request;
  request.request_id = 7;
  request.message_type = 20792;
  request.message.SetName(OCString("n", utf8));
  request.message.MakeResult(OCString("b", utf8), true);
  wire::Frame reply;
  reply.kind = wire::kReplyFrame;
  reply.request_id = 7;
  reply.message_type = -3;
  reply.message.SetName(OCString("caf\xc3\xa9", utf8));
  reply.message.MakeResult(OCString("s", utf8), OCString("", utf8));
  reply.message.MakeResult(OCString("t", utf8), "text");
  reply.message.MakeResult(OCString("l", utf8), -2147483647L - 1);
  reply.message.MakeResult(OCString("f", utf8), -0.25f);
  reply.message.MakeResult(OCString("b", utf8), false);
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
  std::unique_ptr<IPC::Message> invoked(IPC::SyncMessage::GenerateReply(&invoke));
  ControlMsg_InvokeMethod::Schema::WriteReplyParam(
      invoked.get(), ControlMsg_InvokeMethod::ReplyParam(control::kInvokeOk, true));
  WriteSeed(target, "invoke_reply", fuzz::PayloadOf(*invoked));
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
  if (!MakeDir(g_root)) {
    std::perror(argv[1]);
    return 1;
  }
  WriteValueSeeds();
  WriteCatalogueSeeds();
  WriteFramingSeeds();
  WriteWireSeeds();
  WriteControlSeeds();
  return 0;
}
