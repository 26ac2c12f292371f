// Decodes arbitrary bytes as the parameters of one message of the AV plugin's catalogue,
// built once per message and direction: AV_FUZZ_MESSAGE names the message class and
// AV_FUZZ_REPLY is 1 for its reply, 0 for its request. The input is the payload, message
// id included. What decodes must encode to bytes that decode and encode to the same
// bytes again, and must render for the log.

#include "fuzz/fuzz_util.h"
#include "plugin/device/av_plugin/stub/av_messages.h"

#if !defined(AV_FUZZ_MESSAGE) || !defined(AV_FUZZ_REPLY)
#error "AV_FUZZ_MESSAGE and AV_FUZZ_REPLY name the message and direction"
#endif

namespace {

typedef AV_FUZZ_MESSAGE Msg;

#if AV_FUZZ_REPLY
typedef Msg::ReplyParam Params;
const auto kRead = &Msg::ReadReplyParam;
const auto kWrite = &Msg::Schema::WriteReplyParam;
const auto kFlag = &IPC::Message::set_reply;
#else
typedef Msg::SendParam Params;
const auto kRead = &Msg::ReadSendParam;
const auto kWrite = &Msg::Schema::WriteSendParam;
const auto kFlag = &IPC::Message::set_sync;
#endif

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  IPC::Message msg = fuzz::MessageWithPayload(Msg::ID, data, size);
  (msg.*kFlag)();
  std::string name, rendering;
  Msg::Log(&name, &msg, &rendering);
  Params p;
  if (!fuzz::ReadStable<Params>(msg, kRead, kWrite, &p))
    CHECK(rendering.empty());
  return 0;
}
