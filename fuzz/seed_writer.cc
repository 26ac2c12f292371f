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
#include "ipc/ipc_message_utils.h"
#include "ipc/ipc_sync_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"

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
  return 0;
}
