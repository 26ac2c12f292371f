// The plugin loaded the way the runtime loads it, driven over a link the way the platform's
// device layer drives it: a real shared object, a real socket and a real client.

#include <dlfcn.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "ipc/ipc_channel.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/ipc_sync_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
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

runtime::Reflection* reflection() {
  return runtime::Runtime::GetInstance()->GetReflection();
}

// The component's whole life, from a process that never loaded the plugin.
void LifeOfTheComponent() {
  void* handle = dlopen(TARN_AV_PLUGIN_PATH, RTLD_NOW);
  ASSERT_NE(nullptr, handle) << dlerror();
  typedef runtime::BaseComponent* (*Entry)();
  Entry entry = reinterpret_cast<Entry>(dlsym(handle, "GetComponent"));
  ASSERT_NE(nullptr, entry);
  runtime::BaseComponent* component = entry();
  ASSERT_NE(nullptr, component);
  EXPECT_EQ(component, entry());  // one component however often it is asked for
  std::string error;
  std::unique_ptr<runtime::ComponentLibrary> library =
      runtime::ComponentLibrary::Open(TARN_AV_PLUGIN_PATH, &error);
  ASSERT_TRUE(library) << error;
  EXPECT_EQ(component, library->component());
  EXPECT_STREQ("av_plugin", component->GetComponentId());

  logging::SetMinLogLevel(logging::LOG_INFO);
  logging::ScopedLogCapture capture;
  EXPECT_TRUE(component->Destroy());  // before Init: no manager is brought up to go down
  EXPECT_EQ(0, capture.Count(" #av#Init#  Call Init()"));
  EXPECT_TRUE(component->Init(runtime::Runtime::GetInstance()));
  EXPECT_EQ(2, capture.Count(" #av#Init#  Call Init()"));  // the component's, the manager's
  EXPECT_EQ(3u, reflection()->CountMethods("av_plugin"));

  void* manager = nullptr;
  ASSERT_TRUE(component->QueryInterface("plugin_manager_itf", &manager));
  void* registered = nullptr;
  ASSERT_TRUE(reflection()->Invoke("av_plugin", "AvManagerImpl", "GetInstance", &registered,
                                   nullptr, nullptr));
  EXPECT_EQ(registered, manager);  // the manager has the interface as its only base
  for (const char* name : {"plugin_manager_itf ", "PLUGIN_MANAGER_ITF", "plugin_manager", ""}) {
    void* untouched = &capture;
    EXPECT_FALSE(component->QueryInterface(name, &untouched)) << name;
    EXPECT_EQ(static_cast<void*>(&capture), untouched);
  }

  const std::string path = SocketPath("life");
  EXPECT_TRUE(component->OpenLink(path, IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_EQ(1, capture.Count(" #av#OpenLink#  Av OpenLink " + path + "\n"));
  EXPECT_TRUE(component->OpenLink(path, IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_FALSE(component->OpenLink("/nonexistent-dir/link", IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_TRUE(capture.Has(logging::LOG_ERROR, "Failed in AvStub::OpenLink()"));
  IPC::SyncClient client;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, client.Connect(path, kTimeout)) << client.error();
  // A ServiceInvoke without its parameters, and types next to the catalogue's: the platform
  // stub answers each with an error reply that carries the request's id alone.
  for (uint32_t type : {kServiceInvoke, 0xD47F0025u, 0xD47F0023u, 0xD47F0037u, 0u}) {
    IPC::Message* request =
        new IPC::SyncMessage(0x7FFFFFFF, type, IPC::Message::PRIORITY_NORMAL, nullptr);
    const int id = IPC::SyncMessage::GetMessageId(*request);
    ASSERT_EQ(IPC::SyncClient::RESULT_OK, client.SendMessage(request, kTimeout));
    std::unique_ptr<IPC::Message> reply;
    ASSERT_EQ(IPC::SyncClient::RESULT_OK, client.ReceiveMessage(kTimeout, &reply)) << type;
    EXPECT_TRUE(reply->is_reply_error()) << type;
    EXPECT_TRUE(IPC::SyncMessage::IsMessageReplyTo(*reply, id)) << type;
    EXPECT_EQ(4u, reply->payload_size()) << type;
  }
  // An asynchronous message gets no answer: the next reply is the next request's.
  EXPECT_EQ(IPC::SyncClient::RESULT_OK,
            client.SendMessage(new IPC::Message(1, kServiceInvoke, IPC::Message::PRIORITY_NORMAL),
                               kTimeout));
  bool ok = false;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, client.Send(new AvMsg_DeleteDeviceRequest(&ok), kTimeout));
  EXPECT_TRUE(ok);

  EXPECT_TRUE(component->Destroy());
  EXPECT_EQ(0u, reflection()->CountMethods("av_plugin"));
  IPC::SyncClient late;
  EXPECT_NE(IPC::SyncClient::RESULT_OK, late.Connect(path, milliseconds(200)));
  EXPECT_FALSE(access(path.c_str(), F_OK) == 0);  // the socket file is gone
  EXPECT_TRUE(component->Destroy());              // a second call deletes nothing twice
}

// Runs |scenario| and ends the process: 0 when it passed, else 1.
void RunAndExit(void (*scenario)()) {
  scenario();  // each failure is printed as it happens
  std::fflush(nullptr);
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

// What the component registers on its first Init stays for the life of the process, so the
// scenario runs in a child forked from this process, which never loads the plugin itself: it
// starts from a plugin never initialised on every repeat.
TEST(PluginLinkTest, LifeOfTheComponent) {
  EXPECT_EXIT(RunAndExit(&LifeOfTheComponent), testing::ExitedWithCode(0), "");
}

}  // namespace
