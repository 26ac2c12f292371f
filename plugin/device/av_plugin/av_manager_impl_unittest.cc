#include "plugin/device/av_plugin/av_manager_impl.h"

#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include "base/time/time.h"
#include "device/device_info.h"
#include "event/event.h"
#include "event/event_manager.h"
#include "ipc/pickle.h"
#include "plugin/device/av_plugin/test/av_test.h"
#include "runtime/reflection.h"
#include "runtime/runtime.h"

namespace plugin {
namespace {

typedef std::vector<std::string> Strings;

// 2014-05-09 07:05:03 UTC, then one second later on each call.
int g_clock_calls = 0;
base::Time SteppingClock() {
  return base::Time::FromTimeT(1399619103 + g_clock_calls++);
}

// The runtime's registry, noting each call the manager makes of it.
class RecordingReflection : public runtime::Reflection {
 public:
  bool ParseSignature(const std::string& signature,
                      std::string& return_type,
                      std::vector<std::string>& params_type) override {
    calls.push_back("Parse " + signature);
    return Reflection::ParseSignature(signature, return_type, params_type);
  }
  bool AddMethod(const std::string& component,
                 const std::string& class_name,
                 const std::string& method,
                 const std::string& return_type,
                 const std::vector<std::string>& params_type,
                 runtime::FunctionMethodContainerBase* container) override {
    calls.push_back("Add " + Name(component, class_name, method, return_type, params_type));
    return Reflection::AddMethod(component, class_name, method, return_type, params_type,
                                 container);
  }
  bool RemoveMethod(const std::string& component,
                    const std::string& class_name,
                    const std::string& method,
                    const std::string& return_type,
                    const std::vector<std::string>& params_type) override {
    calls.push_back("Remove " + Name(component, class_name, method, return_type, params_type));
    return Reflection::RemoveMethod(component, class_name, method, return_type, params_type);
  }

  Strings calls;

 private:
  // "component/class/method return_type(parameter, ...)"
  static std::string Name(const std::string& component,
                          const std::string& class_name,
                          const std::string& method,
                          const std::string& return_type,
                          const std::vector<std::string>& params_type) {
    std::string name = component + "/" + class_name + "/" + method + " " + return_type + "(";
    for (size_t i = 0; i < params_type.size(); ++i)
      name += (i ? ", " : "") + params_type[i];
    return name + ")";
  }
};

class AvManagerImplTest : public AvTest {
 protected:
  void SetUp() override {
    AvTest::SetUp();
    setenv("TZ", "UTC", 1);
    tzset();
    g_clock_calls = 0;
    base::Time::SetNowFunctionForTesting(&SteppingClock);
    // Each event as its id, then the strings of its payload.
    subscription_ = evt::EventManager::GetInstance()->Subscribe(
        evt::EventManager::kAllEvents, [this](const evt::Event& event) {
          Pickle pickle(event.data().data(), static_cast<int>(event.data().size()));
          PickleIterator iter(pickle);
          Strings published = {std::to_string(event.id())};
          std::string text;
          while (iter.ReadString(&text))
            published.push_back(text);
          published_.push_back(published);
        });
    manager_ = AvManagerImpl::GetInstance();
    capture_.Clear();
  }
  void TearDown() override {
    evt::EventManager::GetInstance()->Unsubscribe(subscription_);
    evt::EventManager::GetInstance()->SetCreateEventFailsForTesting(false);
    base::Time::SetNowFunctionForTesting(nullptr);
    manager_->Destroy();
    manager_->RegisterMethod();
  }

  AvManagerImpl* manager_ = nullptr;
  std::vector<Strings> published_;
  int subscription_ = 0;
};

TEST_F(AvManagerImplTest, DiscoveryRecordsTheDeviceAndPublishesEvent35) {
  const std::string id = std::string("tv \"1\"\\\x01\n\xC3\xA9<", 12);
  EXPECT_TRUE(manager_->OnDiscovery(id));

  device::_DeviceInfo info;
  info.text_19 = "kept";
  ASSERT_TRUE(manager_->GetDeviceProperty(id, &info));
  // Every field is overwritten by the stored record, text_19 included.
  device::_DeviceInfo expected;
  expected.device_id = id;
  expected.plugin_name = "av_plugin";
  expected.text_03 = expected.text_04 = expected.text_05 = "AV";
  expected.discovery_datetime = "2014-05-09 07:05:03";
  expected.number_21 = 30;
  expected.rdf_properties =
      "{\"Properties\":[{\"property\":\"http://tarn.example/TARN/TARNPlatform/ontology/util/"
      "Device.owl#originalId\",\"type\":\"http://www.w3.org/2001/XMLSchema#string\",\"value\":"
      "\"tv \\\"1\\\"\\\\\\u0001\\n\\u00E9\\u003C\"}]}";
  EXPECT_EQ(expected, info);
  EXPECT_EQ((std::vector<Strings>{{"35", id, "av_plugin"}}), published_);

  const std::string prefix = " #av#OnDiscovery#  ";
  const Strings lines = {prefix + "AvManagerImpl OnDiscovery()",
                         prefix + "rdf_properties = " + info.rdf_properties,
                         prefix + "EventPublished: 35, device_id = " + id,
                         " #av#GetDeviceProperty#  stub: GetDeviceProperty"};
  EXPECT_EQ(lines, capture_.messages());
}

TEST_F(AvManagerImplTest, RediscoveryReplacesDisconnectionKeepsAndReadsFindOnlyTheRecord) {
  EXPECT_TRUE(manager_->OnDiscovery("tv-1"));
  EXPECT_TRUE(manager_->OnDiscovery("tv-1"));
  capture_.Clear();
  EXPECT_TRUE(manager_->OnDeviceDisconnection("tv-1"));
  EXPECT_TRUE(manager_->OnDeviceDisconnection("never-seen"));
  EXPECT_EQ((std::vector<Strings>{{"35", "tv-1", "av_plugin"},
                                  {"35", "tv-1", "av_plugin"},
                                  {"37", "tv-1", "av_plugin", "2014-05-09 07:05:05"},
                                  {"37", "never-seen", "av_plugin", "2014-05-09 07:05:06"}}),
            published_);
  EXPECT_EQ((std::vector<Line>{Info("AvManagerImpl::OnDeviceDisconnection"),
                               Info("EventPublished: 37, device_id = tv-1"),
                               Info("AvManagerImpl::OnDeviceDisconnection"),
                               Info("EventPublished: 37, device_id = never-seen")}),
            LinesOf("OnDeviceDisconnection"));

  device::_DeviceInfo info;
  ASSERT_TRUE(manager_->GetDeviceProperty("tv-1", &info));
  EXPECT_EQ("2014-05-09 07:05:04", info.discovery_datetime);
  // Another id, or nowhere to write: false, and |info| is left alone.
  info.device_id = "mine";
  for (const char* other : {"TV-1", "", "never-seen"})
    EXPECT_FALSE(manager_->GetDeviceProperty(other, &info)) << other;
  EXPECT_EQ("mine", info.device_id);
  EXPECT_FALSE(manager_->GetDeviceProperty("tv-1", nullptr));
  EXPECT_EQ(Error("Invalid parameter."), LinesOf("GetDeviceProperty").back());
}

TEST_F(AvManagerImplTest, WithoutAnEventDiscoveryStillRecordsAndDisconnectionTakesNoTime) {
  evt::EventManager::GetInstance()->SetCreateEventFailsForTesting(true);
  EXPECT_FALSE(manager_->OnDiscovery("tv-2"));
  device::_DeviceInfo info;
  EXPECT_TRUE(manager_->GetDeviceProperty("tv-2", &info));
  const int clock_calls = g_clock_calls;
  EXPECT_FALSE(manager_->OnDeviceDisconnection("tv-2"));
  EXPECT_EQ(clock_calls, g_clock_calls);
  EXPECT_TRUE(published_.empty());
  for (const std::string& line : capture_.messages())
    EXPECT_EQ(std::string::npos, line.find("EventPublished")) << line;
}

TEST_F(AvManagerImplTest, RegistrationOrderAndARuntimeWithoutRegistry) {
  runtime::Runtime* runtime = runtime::Runtime::GetInstance();
  runtime::Reflection* own = runtime->GetReflection();
  RecordingReflection recording;
  runtime->SetReflectionForTesting(&recording);
  manager_->Init();
  const Strings registered = recording.calls;
  recording.calls.clear();
  manager_->OnDiscovery("tv-5");
  EXPECT_TRUE(manager_->Destroy());
  const Strings withdrawn = recording.calls;
  EXPECT_EQ(std::vector<Line>{Info("Call Init()")}, LinesOf("Init"));

  // The same calls to register and to withdraw, the signature parsed before each.
  auto calls = [](const std::string& verb) {
    const std::string get_instance = "Parse plugin::AvManagerImpl * ()";
    const std::string device_method = "Parse bool (std::string)";
    const std::string name = verb + " av_plugin/AvManagerImpl/";
    return Strings{get_instance,  name + "GetInstance plugin::AvManagerImpl *()",
                   device_method, name + "OnDiscovery bool(std::string)",
                   device_method, name + "OnDeviceDisconnection bool(std::string)"};
  };
  EXPECT_EQ(calls("Add"), registered);
  EXPECT_EQ(calls("Remove"), withdrawn);
  EXPECT_EQ(0u, recording.CountMethods("av_plugin"));

  // Without a registry nothing is registered, and Destroy still frees the records.
  manager_->OnDiscovery("tv-6");
  runtime->SetReflectionForTesting(nullptr);
  EXPECT_FALSE(manager_->RegisterMethod());
  EXPECT_FALSE(manager_->UnRegisterMethod());
  EXPECT_TRUE(manager_->Destroy());
  runtime->SetReflectionForTesting(own);
  device::_DeviceInfo info;
  EXPECT_FALSE(manager_->GetDeviceProperty("tv-6", &info));
  EXPECT_EQ(3u, own->CountMethods("av_plugin"));
}

TEST_F(AvManagerImplTest, MethodsAreCallableByNameUntilDestroy) {
  runtime::Reflection* reflection = runtime::Runtime::GetInstance()->GetReflection();
  AvManagerImpl* through_registry = nullptr;
  ASSERT_TRUE(reflection->Invoke("av_plugin", "AvManagerImpl", "GetInstance", &through_registry,
                                 nullptr, nullptr));
  EXPECT_EQ(manager_, through_registry);

  std::string id = "tv-4";
  void* argv[] = {&id};
  bool ok = false;
  ASSERT_TRUE(
      reflection->Invoke("av_plugin", "AvManagerImpl", "OnDiscovery", &ok, through_registry, argv));
  EXPECT_TRUE(ok);
  device::_DeviceInfo info;
  EXPECT_TRUE(manager_->GetDeviceProperty("tv-4", &info));
  ok = false;
  ASSERT_TRUE(reflection->Invoke("av_plugin", "AvManagerImpl", "OnDeviceDisconnection", &ok,
                                 through_registry, argv));
  EXPECT_TRUE(ok);
  EXPECT_EQ(2u, published_.size());

  EXPECT_TRUE(manager_->Destroy());
  EXPECT_FALSE(manager_->GetDeviceProperty("tv-4", &info));
  EXPECT_EQ(Info("Destroy"), LinesOf("Destroy").back());
  EXPECT_EQ(0u, reflection->CountMethods("av_plugin"));
}

TEST_F(AvManagerImplTest, NotSupportedRequestsSucceedAndFollowThePlatformLevelOnly) {
  DevicePluginManagerItf* itf = manager_;
  for (bool written : {true, false}) {
    logging::SetMinLogLevel(written ? logging::LOG_INFO : logging::LOG_WARNING);
    av::log_level = written ? logging::LOG_ERROR : logging::LOG_INFO;
    capture_.Clear();
    EXPECT_TRUE(itf->RegisterDeviceRequest("", "", ""));
    EXPECT_TRUE(itf->UnregisterDeviceRequest("a", "b"));
    EXPECT_TRUE(itf->ManualRescanDevices());
    EXPECT_TRUE(itf->DeleteDeviceRequest());
    const Strings lines = {"This plugin does not support register. Return ok directly.",
                           "This plugin does not support unregister. Return ok directly.",
                           "This plugin does not support manual rescan. Return ok directly.",
                           "This plugin does not support delete. Return ok directly."};
    EXPECT_EQ(written ? lines : Strings(), capture_.messages());
  }
}

}  // namespace
}  // namespace plugin
