// Decodes arbitrary bytes, as a payload (message id included), with every decoder of
// tarn-host's control channel: the host's reading of both requests, the client's reading
// of both replies (the schema's and the request's own reply deserializer, which must
// agree), and the client's reading of an event. What decodes must encode to bytes that
// decode and encode to the same bytes again; an event must survive being sent again.

#include "fuzz/fuzz_util.h"
#include "tools/control/control_messages.h"

namespace {

template <class Msg>
void CheckRequest(const uint8_t* data, size_t size) {
  typename Msg::SendParam p;
  fuzz::ReadStable(fuzz::MessageWithPayload(Msg::ID, data, size), &Msg::ReadSendParam,
                   &Msg::Schema::WriteSendParam, &p);
}

// Reads |reply| into |p| with the schema and into |request|'s out-variables with its reply
// deserializer; true when both did, false when neither did.
template <class Msg>
bool CheckReply(const IPC::Message& reply, Msg* request, typename Msg::ReplyParam* p) {
  const bool read =
      fuzz::ReadStable(reply, &Msg::Schema::ReadReplyParam, &Msg::Schema::WriteReplyParam, p);
  std::unique_ptr<IPC::MessageReplyDeserializer> deserializer(request->GetReplyDeserializer());
  CHECK(deserializer->SerializeOutputParameters(reply) == read);
  return read;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CheckRequest<ControlMsg_InvokeMethod>(data, size);
  CheckRequest<ControlMsg_Subscribe>(data, size);

  const IPC::Message reply = fuzz::MessageWithPayload(IPC::IPC_REPLY_ID, data, size);
  int status = -1;
  bool result = false;
  ControlMsg_InvokeMethod invoke("c", "k", "m", "a", &status, &result);
  ControlMsg_InvokeMethod::ReplyParam invoked;
  if (CheckReply(reply, &invoke, &invoked))
    CHECK(status == invoked.a && result == invoked.b);
  bool subscribed = false;
  ControlMsg_Subscribe subscribe(0, &subscribed);
  ControlMsg_Subscribe::ReplyParam answer;
  if (CheckReply(reply, &subscribe, &answer))
    CHECK(subscribed == answer.a);

  const IPC::Message event = fuzz::MessageWithPayload(ControlMsg_Event::ID, data, size);
  int id = 0;
  std::vector<std::string> strings;
  ControlMsg_Event::Read(&event, &id, &strings);
  return 0;
}
