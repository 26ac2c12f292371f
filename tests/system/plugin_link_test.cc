// The plugin loaded the way the runtime loads it, driven over a link the way the platform's
// device layer drives it: a real shared object, a real socket and a real client.

#include <unistd.h>

#include <chrono>
#include <memory>
#include <string>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "base/values.h"
#include "device/device_info.h"
#include "gtest/gtest.h"
#include "ipc/ipc_channel.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/ipc_sync_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "plugin/device/device_plugin_manager_interface.h"
#include "runtime/component.h"
#include "runtime/component_library.h"
#include "runtime/reflection.h"
#include "runtime/runtime.h"

namespace {

using std::chrono::milliseconds;

const milliseconds kTimeout(5000);
const uint32_t kServiceInvoke = 0xD47F0024;

std::string SocketPath(const char* name) {
  return "/tmp/tarn-link-" + std::to_string(getpid()) + "-" + name;
}

class PluginLinkTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    std::string error;
    library_ = runtime::ComponentLibrary::Open(TARN_AV_PLUGIN_PATH, &error).release();
    ASSERT_NE(nullptr, library_) << error;
  }

  runtime::BaseComponent* component() { return library_->component(); }
  runtime::Reflection* reflection() { return runtime::Runtime::GetInstance()->GetReflection(); }

  void ConnectClient() {
    ASSERT_EQ(IPC::SyncClient::RESULT_OK, client_.Connect(SocketPath("a"), kTimeout))
        << client_.error();
  }

  // Sends a ServiceInvoke and returns the result code.
  int Invoke(const std::string& method,
             const base::DictionaryValue& args,
             base::DictionaryValue* results) {
    int code = -1;
    EXPECT_EQ(IPC::SyncClient::RESULT_OK,
              client_.Send(new AvMsg_ServiceInvoke(method, args, results, &code), kTimeout))
        << client_.error();
    return code;
  }

  // Sends |message| and returns the raw reply.
  std::unique_ptr<IPC::Message> RawExchange(IPC::Message* message) {
    EXPECT_EQ(IPC::SyncClient::RESULT_OK, client_.SendMessage(message, kTimeout));
    std::unique_ptr<IPC::Message> reply;
    EXPECT_EQ(IPC::SyncClient::RESULT_OK, client_.ReceiveMessage(kTimeout, &reply));
    return reply;
  }

  IPC::SyncClient client_;

  static runtime::ComponentLibrary* library_;  // kept for the whole process
};

runtime::ComponentLibrary* PluginLinkTest::library_ = nullptr;

// The tests of this file run in order: each takes the component one step further along
// its life, as the runtime would.
TEST_F(PluginLinkTest, A_DestroyBeforeInitTouchesNoManager) {
  EXPECT_EQ(component(), component());
  EXPECT_STREQ("av_plugin", component()->GetComponentId());
  EXPECT_TRUE(component()->Destroy());
  EXPECT_EQ(0u, reflection()->CountMethods("av_plugin"));  // no manager, no registrations
}

TEST_F(PluginLinkTest, B_InitBringsUpTheManagerAndQueryInterfaceHandsItOut) {
  logging::SetMinLogLevel(logging::LOG_INFO);
  logging::ScopedLogCapture capture;
  EXPECT_TRUE(component()->Init(runtime::Runtime::GetInstance()));
  EXPECT_EQ(2, capture.Count(" #av#Init#  Call Init()"));  // the component's, the manager's
  EXPECT_EQ(3u, reflection()->CountMethods("av_plugin"));

  void* manager = nullptr;
  ASSERT_TRUE(component()->QueryInterface("plugin_manager_itf", &manager));
  ASSERT_NE(nullptr, manager);
  void* registered = nullptr;
  ASSERT_TRUE(reflection()->Invoke("av_plugin", "AvManagerImpl", "GetInstance", &registered,
                                   nullptr, nullptr));
  EXPECT_EQ(registered, manager);  // the manager has the interface as its only base
  for (const char* name : {"plugin_manager_itf ", "PLUGIN_MANAGER_ITF", "plugin_manager", ""}) {
    void* untouched = &capture;
    EXPECT_FALSE(component()->QueryInterface(name, &untouched)) << name;
    EXPECT_EQ(static_cast<void*>(&capture), untouched);
  }
}

TEST_F(PluginLinkTest, C_OpenLinkCreatesAStubPerCallAndRefusesAnUnusablePath) {
  logging::ScopedLogCapture capture;
  const std::string path = SocketPath("a");
  EXPECT_TRUE(component()->OpenLink(path, IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_EQ(1, capture.Count(" #av#OpenLink#  Av OpenLink " + path + "\n"));
  EXPECT_TRUE(component()->OpenLink(path, IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_FALSE(component()->OpenLink("/nonexistent-dir/link", IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_TRUE(capture.Has(logging::LOG_ERROR, "Failed in AvStub::OpenLink()"));
}

TEST_F(PluginLinkTest, D_ServiceMethodsAnswerByName) {
  ConnectClient();
  base::DictionaryValue args;
  args.SetString("device_id", "tv-1");
  base::DictionaryValue results;
  EXPECT_EQ(0, Invoke("GetSpeakerVolume", args, &results));
  int volume = -1;
  EXPECT_TRUE(results.GetInteger("speaker_volume", &volume));
  EXPECT_EQ(0, volume);

  base::DictionaryValue no_device;
  base::DictionaryValue none;
  EXPECT_EQ(107, Invoke("GetSpeakerVolume", no_device, &none));
  EXPECT_TRUE(none.empty());

  for (const char* name : {"getSpeakerVolume", "GetSpeakerVolume ", ""}) {
    base::DictionaryValue unknown;
    EXPECT_EQ(404, Invoke(name, args, &unknown)) << name;
    EXPECT_TRUE(unknown.empty());
  }
}

TEST_F(PluginLinkTest, E_DeviceRequestsReachTheManager) {
  ConnectClient();
  device::_DeviceInfo info;
  info.device_id = "stale";
  bool found = true;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK,
            client_.Send(new AvMsg_GetDeviceProperty("tv-9", &info, &found), kTimeout));
  EXPECT_FALSE(found);
  EXPECT_EQ(device::_DeviceInfo(), info);  // the reply carries the dispatch's new record

  std::string id = "tv-9";
  void* argv[] = {&id};
  bool discovered = false;
  void* manager = nullptr;
  reflection()->Invoke("av_plugin", "AvManagerImpl", "GetInstance", &manager, nullptr, nullptr);
  ASSERT_TRUE(reflection()->Invoke("av_plugin", "AvManagerImpl", "OnDiscovery", &discovered,
                                   manager, argv));
  ASSERT_EQ(IPC::SyncClient::RESULT_OK,
            client_.Send(new AvMsg_GetDeviceProperty("tv-9", &info, &found), kTimeout));
  EXPECT_TRUE(found);
  EXPECT_EQ("tv-9", info.device_id);
  EXPECT_EQ(30, info.number_21);

  logging::ScopedLogCapture capture;
  bool ok = false;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK,
            client_.Send(new AvMsg_RegisterDeviceRequest("a", "b", "c", &ok), kTimeout));
  EXPECT_TRUE(ok);
  ok = false;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK,
            client_.Send(new AvMsg_UnregisterDeviceRequest("a", "b", &ok), kTimeout));
  EXPECT_TRUE(ok);
  ok = false;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, client_.Send(new AvMsg_ManualRescanDevices(&ok), kTimeout));
  EXPECT_TRUE(ok);
  ok = false;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, client_.Send(new AvMsg_DeleteDeviceRequest(&ok), kTimeout));
  EXPECT_TRUE(ok);
  EXPECT_EQ(1, capture.Count("This plugin does not support register. Return ok directly."));
  EXPECT_EQ(1, capture.Count("This plugin does not support unregister. Return ok directly."));
  EXPECT_EQ(1, capture.Count("This plugin does not support manual rescan. Return ok directly."));
  EXPECT_EQ(0, capture.Count("This plugin does not support delete. Return ok directly."));
}

TEST_F(PluginLinkTest, F_MalformedAndUnknownRequestsGetErrorReplies) {
  ConnectClient();
  logging::ScopedLogCapture capture;
  // A ServiceInvoke whose parameters are missing.
  IPC::Message* bare =
      new IPC::SyncMessage(0x7FFFFFFF, kServiceInvoke, IPC::Message::PRIORITY_NORMAL, nullptr);
  const int bare_id = IPC::SyncMessage::GetMessageId(*bare);
  std::unique_ptr<IPC::Message> reply = RawExchange(bare);
  ASSERT_TRUE(reply);
  EXPECT_TRUE(reply->is_reply());
  EXPECT_TRUE(reply->is_reply_error());
  EXPECT_TRUE(IPC::SyncMessage::IsMessageReplyTo(*reply, bare_id));
  EXPECT_EQ(4u, reply->payload_size());  // the message id alone
  EXPECT_TRUE(capture.Has(logging::LOG_FATAL,
                          "Check failed: false. Error deserializing message 3565092900"));

  // Types next to the catalogue's, synchronous: the platform stub answers with an error.
  for (uint32_t type : {0xD47F0025u, 0xD47F0023u, 0xD47F0037u, 0u}) {
    IPC::Message* unknown =
        new IPC::SyncMessage(0x7FFFFFFF, type, IPC::Message::PRIORITY_NORMAL, nullptr);
    reply = RawExchange(unknown);
    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->is_reply_error()) << type;
    EXPECT_EQ(4u, reply->payload_size());
  }
  // An asynchronous message gets no answer; the link still serves afterwards.
  EXPECT_EQ(IPC::SyncClient::RESULT_OK,
            client_.SendMessage(new IPC::Message(1, kServiceInvoke, IPC::Message::PRIORITY_NORMAL),
                                kTimeout));
  bool ok = false;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, client_.Send(new AvMsg_DeleteDeviceRequest(&ok), kTimeout));
  EXPECT_TRUE(ok);
}

TEST_F(PluginLinkTest, G_DestroyClosesTheLinksAndTearsTheManagerDown) {
  EXPECT_TRUE(component()->Destroy());
  EXPECT_EQ(0u, reflection()->CountMethods("av_plugin"));
  IPC::SyncClient client;
  EXPECT_NE(IPC::SyncClient::RESULT_OK, client.Connect(SocketPath("a"), milliseconds(200)));
  EXPECT_NE(0, access(SocketPath("a").c_str(), F_OK));  // the socket file is gone
  EXPECT_TRUE(component()->Destroy());                  // a second call deletes nothing twice
}

}  // namespace
