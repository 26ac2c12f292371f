#include "plugin/device/av_plugin/av_manager_impl.h"

#include <cstdlib>
#include <ctime>
#include "base/time/time.h"
#include "event/event.h"
#include "event/event_manager.h"
#include "plugin/device/av_plugin/test/av_test.h"
#include "runtime/runtime.h"

namespace plugin {
namespace {

typedef std::vector<std::string> Strings;

// 2014-05-09 07:05:03 UTC, then one second later on each call.
int g_clock_calls = 0;
base::Time SteppingClock() {
  return base::Time::FromTimeT(1399619103 + g_clock_calls++);
}

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
          Strings published = event.ReadStrings();
          published.insert(published.begin(), std::to_string(event.id()));
          published_.push_back(published);
        });
    manager_ = AvManagerImpl::GetInstance();
    capture_.Clear();
  }
  void TearDown() override {
    evt::EventManager::GetInstance()->Unsubscribe(subscription_);
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
  // The other fields, in wire order, are in the end-to-end test; text_19 is overwritten too.
  EXPECT_EQ("", info.text_19);
  EXPECT_EQ("2014-05-09 07:05:03", info.discovery_datetime);
  EXPECT_EQ(
      "{\"Properties\":[{\"property\":\"http://tarn.example/TARN/TARNPlatform/ontology/util/"
      "Device.owl#originalId\",\"type\":\"http://www.w3.org/2001/XMLSchema#string\",\"value\":"
      "\"tv \\\"1\\\"\\\\\\u0001\\n\\u00E9\\u003C\"}]}",
      info.rdf_properties);
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
  EXPECT_EQ((std::vector<Strings>{{"35", "tv-1", "av_plugin"},
                                  {"35", "tv-1", "av_plugin"},
                                  {"37", "tv-1", "av_plugin", "2014-05-09 07:05:05"}}),
            published_);
  EXPECT_EQ((std::vector<Line>{Info("AvManagerImpl::OnDeviceDisconnection"),
                               Info("EventPublished: 37, device_id = tv-1")}),
            LinesOf("OnDeviceDisconnection"));

  device::_DeviceInfo info;
  ASSERT_TRUE(manager_->GetDeviceProperty("tv-1", &info));
  EXPECT_EQ("2014-05-09 07:05:04", info.discovery_datetime);
  // Nowhere to write.
  EXPECT_FALSE(manager_->GetDeviceProperty("tv-1", nullptr));
  EXPECT_EQ(Error("Invalid parameter."), LinesOf("GetDeviceProperty").back());
}

TEST_F(AvManagerImplTest, RegistersThreeMethodsUntilDestroy) {
  runtime::Runtime* runtime = runtime::Runtime::GetInstance();
  runtime::Reflection* own = runtime->GetReflection();
  RecordingReflection reflection;
  runtime->SetReflectionForTesting(&reflection);
  manager_->Init();
  EXPECT_EQ(std::vector<Line>{Info("Call Init()")}, LinesOf("Init"));
  const Strings registered = reflection.calls;
  reflection.calls.clear();

  EXPECT_TRUE(manager_->Destroy());
  EXPECT_EQ(Info("Destroy"), LinesOf("Destroy").back());
  EXPECT_EQ(0u, reflection.CountMethods("av_plugin"));

  // The same calls to register and to withdraw, the signature parsed before each.
  auto calls = [](const std::string& verb) {
    const std::string name = verb + " av_plugin/AvManagerImpl/";
    return Strings{"Parse plugin::AvManagerImpl * ()", name + "GetInstance",
                   "Parse bool (std::string)",         name + "OnDiscovery",
                   "Parse bool (std::string)",         name + "OnDeviceDisconnection"};
  };
  EXPECT_EQ(calls("Add"), registered);
  EXPECT_EQ(calls("Remove"), reflection.calls);
  runtime->SetReflectionForTesting(own);
  EXPECT_EQ(3u, own->CountMethods("av_plugin"));
}

TEST_F(AvManagerImplTest, NotSupportedRequestsSucceedWhateverTheModuleLevel) {
  DevicePluginManagerItf* itf = manager_;
  av::log_level = logging::LOG_FATAL;
  EXPECT_TRUE(itf->RegisterDeviceRequest("", "", "") && itf->UnregisterDeviceRequest("a", "b") &&
              itf->ManualRescanDevices() && itf->DeleteDeviceRequest());
  Strings lines;
  for (const char* what : {"register", "unregister", "manual rescan", "delete"})
    lines.push_back(std::string("This plugin does not support ") + what + ". Return ok directly.");
  EXPECT_EQ(lines, capture_.messages());
}

}  // namespace
}  // namespace plugin
