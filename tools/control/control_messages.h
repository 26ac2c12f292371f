// The messages of tarn-host's control channel. Their types lie in 0x7A000001 to 0x7A0000FF,
// apart from any component's. Through the channel a client can:
//
// - invoke a method registered with the runtime's reflection, by component, class and
//   method name, with one string argument (how the platform reaches a plugin's
//   "OnDiscovery" and "OnDeviceDisconnection"): ControlMsg_InvokeMethod;
// - subscribe to events of the event bus: ControlMsg_Subscribe; the host then sends
//   ControlMsg_Event messages to that client as events are published;
// - read the host's figures: ControlMsg_Status.

#ifndef TOOLS_CONTROL_CONTROL_MESSAGES_H_
#define TOOLS_CONTROL_CONTROL_MESSAGES_H_

#include <cstdint>
#include <string>
#include <vector>

#include "base/tuple.h"
#include "base/values.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_message_utils.h"
#include "ipc/ipc_sync_message.h"

namespace control {

const int32_t kControlRoutingId = 1;
const uint32_t kFirstControlType = 0x7A000001;
const uint32_t kLastControlType = 0x7A0000FF;

// What an invocation came to.
enum InvokeStatus {
  kInvokeOk = 0,            // the method ran; its bool result is in the reply
  kInvokeNoSuchMethod = 1,  // nothing is registered under the three names
  kInvokeBadSignature = 2,  // registered, but not a "bool (std::string)" method
  kInvokeNoInstance = 3,    // the class has no "GetInstance" giving the object
  kInvokeBadRequest = 4,    // the request lacks one of its four strings
};

// What |status|, an InvokeStatus or any other number from the wire, says to a reader:
// "ok", "no such method is registered", ..., "unknown status".
const char* InvokeStatusText(int status);

}  // namespace control

// The synchronous requests of the control channel, on its routing id.
template <class Msg, uint32_t kId, class SendParam, class ReplyParam>
using ControlSyncMessage =
    IPC::TypedSyncMessage<Msg, control::kControlRoutingId, kId, SendParam, ReplyParam>;

// Invokes a registered "bool (std::string)" member method. The request is a dictionary of
// four strings: "component", "class", "method" and "argument". The host obtains the object
// by invoking the class's registered "GetInstance" first. The reply carries an
// InvokeStatus and the method's result (false unless the status is kInvokeOk).
class ControlMsg_InvokeMethod : public ControlSyncMessage<ControlMsg_InvokeMethod,
                                                          control::kFirstControlType,
                                                          Tuple1<base::DictionaryValue>,
                                                          Tuple2<int, bool>> {
 public:
  static constexpr char kName[] = "ControlMsg_InvokeMethod";

  // |status| and |result| are not owned; they are filled from the reply.
  ControlMsg_InvokeMethod(const std::string& component,
                          const std::string& class_name,
                          const std::string& method,
                          const std::string& argument,
                          int* status,
                          bool* result);
};

// Subscribes the sending client to events of one id, or of every id with -1. The reply
// says whether the subscription was made. A client's subscriptions end when it
// disconnects.
class ControlMsg_Subscribe : public ControlSyncMessage<ControlMsg_Subscribe,
                                                       control::kFirstControlType + 1,
                                                       Tuple1<int>,
                                                       Tuple1<bool>> {
 public:
  static constexpr char kName[] = "ControlMsg_Subscribe";
  static const int kAllEvents = -1;

  // |subscribed| is not owned; it is filled from the reply.
  ControlMsg_Subscribe(int event_id, bool* subscribed);
};

// Asks for the host's figures: uptime, peers, requests, errors and latencies (see
// docs/control-channel.md). The reply carries them as one dictionary.
class ControlMsg_Status : public ControlSyncMessage<ControlMsg_Status,
                                                    control::kFirstControlType + 3,
                                                    Tuple0,
                                                    Tuple1<base::DictionaryValue>> {
 public:
  static constexpr char kName[] = "ControlMsg_Status";

  // |status| is not owned; it is filled from the reply.
  explicit ControlMsg_Status(base::DictionaryValue* status);
};

// An event forwarded to a subscribed client (asynchronous, host to client): its id, then
// the strings of its payload in order, as a list.
class ControlMsg_Event : public IPC::Message {
 public:
  static constexpr uint32_t ID = control::kFirstControlType + 2;
  typedef Tuple2<int, base::ListValue> Param;

  ControlMsg_Event(int event_id, const std::vector<std::string>& strings);
  ~ControlMsg_Event() override;

  static bool Read(const IPC::Message* msg, int* event_id, std::vector<std::string>* strings);
};

#endif  // TOOLS_CONTROL_CONTROL_MESSAGES_H_
