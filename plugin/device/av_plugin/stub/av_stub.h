// The AV plugin's end of an IPC link: it decodes the six synchronous messages of the
// catalogue, calls their handlers and sends the replies. The component opens one stub per
// link and destroys them all at the end.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_STUB_H_
#define PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_STUB_H_

#include <string>
#include <vector>

#include "ipc/ipc_channel.h"
#include "runtime/component_stub.h"

namespace base {
class DictionaryValue;
class Thread;
}  // namespace base

namespace device {
struct _DeviceInfo;
}  // namespace device

namespace runtime {
class Runtime;
}  // namespace runtime

namespace plugin {

class AvStub : public runtime::ComponentStub {
 public:
  AvStub(const std::string& channel_name,
         IPC::Channel::Mode mode,
         base::Thread* first_thread,
         base::Thread* second_thread);
  ~AvStub() override;

  // Called by the component. InitDefault does nothing. OpenLink creates a stub on the
  // runtime's threads 1 and 0 and keeps it in stubs_ once its channel is set up.
  // DestroyDefault deletes every stub in stubs_, each exactly once.
  static bool InitDefault(runtime::Runtime* runtime);
  static bool OpenLink(std::string channel_name, IPC::Channel::Mode mode);
  static bool DestroyDefault();

  // Answers the six messages of the catalogue; false, with nothing sent, for another type.
  bool SyncMessageHandler(const IPC::Message& message) override;
  // The stub handles no asynchronous message.
  bool ASyncMessageHandler(const IPC::Message& message) override;

  // The handlers, called with the decoded request and pointers into the reply.
  void OnAvServiceInvokeMethod(const std::string& method_name,
                               const base::DictionaryValue& arguments,
                               base::DictionaryValue* results,
                               int* result_code);
  void OnGetDeviceProperty(const std::string& device_id, device::_DeviceInfo* info, bool* ok);
  void OnRegisterDeviceRequest(const std::string& a,
                               const std::string& b,
                               const std::string& c,
                               bool* ok);
  void OnUnregisterDeviceRequest(const std::string& a, const std::string& b, bool* ok);
  void OnManualRescanDevices(bool* ok);
  void OnDeleteDeviceRequest(bool* ok);

  // The open stubs, in the order they were opened. Owns them until DestroyDefault.
  static std::vector<AvStub*> stubs_;

 private:
  // Decodes |message| as a Msg, calls |handler| and sends the reply, all inside a profile
  // scope named |profile_name| at |line|.
  template <class Msg, class Handler>
  void Dispatch(const IPC::Message& message, const char* profile_name, int line, Handler handler);

  // OnAvServiceInvokeMethod with the result code set beforehand to the one that answers a
  // method name the service does not have.
  void OnServiceInvoke(const std::string& method_name,
                       const base::DictionaryValue& arguments,
                       base::DictionaryValue* results,
                       int* result_code);
};

}  // namespace plugin

#endif  // PLUGIN_DEVICE_AV_PLUGIN_STUB_AV_STUB_H_
