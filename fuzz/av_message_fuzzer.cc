// Decodes arbitrary bytes as the parameters of one message of the AV plugin's catalogue,
// built once per message and direction: AV_FUZZ_MESSAGE names the message class and
// AV_FUZZ_REPLY is 1 for its reply, 0 for its request. The input is the payload, message
// id included. What decodes must encode to bytes that decode and encode to the same
// bytes again, and must render for the log.

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/logging.h"
#include "fuzz/fuzz_util.h"
#include "ipc/ipc_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"

#if !defined(AV_FUZZ_MESSAGE) || !defined(AV_FUZZ_REPLY)
#error "AV_FUZZ_MESSAGE and AV_FUZZ_REPLY name the message and direction"
#endif

namespace {

typedef AV_FUZZ_MESSAGE Msg;

#if AV_FUZZ_REPLY
typedef Msg::ReplyParam Params;
bool (*const kRead)(const IPC::Message*, Params*) = &Msg::ReadReplyParam;
void (*const kWrite)(IPC::Message*, const Params&) = &Msg::Schema::WriteReplyParam;

void Flag(IPC::Message* msg) {
  msg->set_reply();
}
#else
typedef Msg::SendParam Params;
bool (*const kRead)(const IPC::Message*, Params*) = &Msg::ReadSendParam;
void (*const kWrite)(IPC::Message*, const Params&) = &Msg::Schema::WriteSendParam;

void Flag(IPC::Message* msg) {
  msg->set_sync();
}
#endif

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  IPC::Message msg = fuzz::MessageWithPayload(Msg::ID, data, size);
  Flag(&msg);

  std::string name;
  std::string rendering;
  Msg::Log(&name, &msg, &rendering);

  Params p;
  if (!kRead(&msg, &p)) {
    CHECK(rendering.empty());
    return 0;
  }
  fuzz::CheckStableEncoding(Msg::ID, kRead, kWrite, p);
  return 0;
}
