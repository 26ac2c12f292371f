// The six synchronous messages between the platform's device layer and the AV plugin, and
// the wire encoding of the device record carried in one of their replies.
//
// A client builds a request with the message's constructor, which binds out-variables to
// the reply:
//
//   base::DictionaryValue results;
//   int code = 0;
//   channel->Send(new AvMsg_ServiceInvoke("GetPowerState", args, &results, &code));
//
// The plugin's stub decodes a request with ReadSendParam and answers it through the
// message's Schema (Schema::DispatchWithSendParams), which writes the reply elements the
// way AvReplyWriter says.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_MESSAGES_H_
#define PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_MESSAGES_H_

#include <cstdint>
#include <string>

#include "base/tuple.h"
#include "base/values.h"
#include "device/device_info.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_message_utils.h"
#include "ipc/ipc_sync_message.h"

namespace IPC {

// A record is 21 elements: fields device_id to text_18 and text_20 as strings, number_21
// as the 2 bytes of a 16-bit unsigned value, then rdf_properties as a string. text_19 never
// crosses the channel.
template <>
struct ParamTraits<device::_DeviceInfo> {
  typedef device::_DeviceInfo param_type;
  static void Write(Message* m, const param_type& p);
  // False at the first element that cannot be read. Fields read before it keep their new
  // values; number_21 becomes 0 when the failure came before it. text_19 is left alone.
  static bool Read(const Message* m, PickleIterator* iter, param_type* p);
  // "device::DeviceInfo: {" then each carried field after "\n\t " (number_21 in decimal),
  // then "}".
  static void Log(const param_type& p, std::string* l);
};

}  // namespace IPC

// How the elements of this plugin's replies go on the wire: a dictionary and a device
// record through their ParamTraits, the int result code as its 4 bytes and a bool as its
// 1 byte, both raw.
struct AvReplyWriter {
  static void Write(IPC::Message* m, const base::DictionaryValue& p);
  static void Write(IPC::Message* m, const device::_DeviceInfo& p);
  static void Write(IPC::Message* m, int p);
  static void Write(IPC::Message* m, bool p);
};

// Every message of this catalogue is a synchronous request on this routing id, at
// PRIORITY_NORMAL, whose reply goes on the wire as AvReplyWriter says.
const int32_t kAvMsgRoutingId = 0x7FFFFFFF;

template <class Msg, uint32_t kId, class SendParam, class ReplyParam>
using AvSyncMessage =
    IPC::TypedSyncMessage<Msg, kAvMsgRoutingId, kId, SendParam, ReplyParam, AvReplyWriter>;

// Invokes a service method by name with a dictionary of arguments; the reply carries the
// results dictionary and the int result code.
class AvMsg_ServiceInvoke : public AvSyncMessage<AvMsg_ServiceInvoke,
                                                 0xD47F0024,
                                                 Tuple2<std::string, base::DictionaryValue>,
                                                 Tuple2<base::DictionaryValue, int>> {
 public:
  static constexpr char kName[] = "AvMsg_ServiceInvoke";

  // |result| and |code| are not owned; they are filled from the reply.
  AvMsg_ServiceInvoke(const std::string& method,
                      const base::DictionaryValue& args,
                      base::DictionaryValue* result,
                      int* code);
};

// Reads the record of a device by id; the reply carries the record and whether it was
// found.
class AvMsg_GetDeviceProperty : public AvSyncMessage<AvMsg_GetDeviceProperty,
                                                     0xD47F0029,
                                                     Tuple1<std::string>,
                                                     Tuple2<device::_DeviceInfo, bool>> {
 public:
  static constexpr char kName[] = "AvMsg_GetDeviceProperty";

  // |info| and |found| are not owned; they are filled from the reply.
  AvMsg_GetDeviceProperty(const std::string& device_id, device::_DeviceInfo* info, bool* found);
};

// Asks to register a device, described by three strings; the reply says whether it did.
class AvMsg_RegisterDeviceRequest
    : public AvSyncMessage<AvMsg_RegisterDeviceRequest,
                           0xD47F002E,
                           Tuple3<std::string, std::string, std::string>,
                           Tuple1<bool>> {
 public:
  static constexpr char kName[] = "AvMsg_RegisterDeviceRequest";

  // |success| is not owned; it is filled from the reply.
  AvMsg_RegisterDeviceRequest(const std::string& first,
                              const std::string& second,
                              const std::string& third,
                              bool* success);
};

// Asks to unregister a device, described by two strings; the reply says whether it did.
class AvMsg_UnregisterDeviceRequest : public AvSyncMessage<AvMsg_UnregisterDeviceRequest,
                                                           0xD47F0032,
                                                           Tuple2<std::string, std::string>,
                                                           Tuple1<bool>> {
 public:
  static constexpr char kName[] = "AvMsg_UnregisterDeviceRequest";

  // |success| is not owned; it is filled from the reply.
  AvMsg_UnregisterDeviceRequest(const std::string& first, const std::string& second, bool* success);
};

// Asks for a manual rescan of the devices; the reply says whether it started.
class AvMsg_ManualRescanDevices
    : public AvSyncMessage<AvMsg_ManualRescanDevices, 0xD47F0034, Tuple0, Tuple1<bool>> {
 public:
  static constexpr char kName[] = "AvMsg_ManualRescanDevices";

  // |success| is not owned; it is filled from the reply.
  explicit AvMsg_ManualRescanDevices(bool* success);
};

// Asks to delete a device; the reply says whether it did.
class AvMsg_DeleteDeviceRequest
    : public AvSyncMessage<AvMsg_DeleteDeviceRequest, 0xD47F0036, Tuple0, Tuple1<bool>> {
 public:
  static constexpr char kName[] = "AvMsg_DeleteDeviceRequest";

  // |success| is not owned; it is filled from the reply.
  explicit AvMsg_DeleteDeviceRequest(bool* success);
};

#endif  // PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_MESSAGES_H_
