#include "plugin/device/av_plugin/av_manager_impl.h"

#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "base/test/log_capture.h"
#include "base/time/time.h"
#include "base/values.h"
#include "device/device_info.h"
#include "event/event.h"
#include "event/event_manager.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_log.h"
#include "runtime/reflection.h"
#include "runtime/runtime.h"

namespace plugin {
namespace {

// 2014-05-09 07:05:03 UTC, then one second later on each call.
int g_clock_calls = 0;
base::Time SteppingClock() {
  return base::Time::FromTimeT(1399619103 + g_clock_calls++);
}

struct Published {
  int id;
  std::vector<std::string> strings;
};

class AvManagerImplTest : public testing::Test {
 protected:
  void SetUp() override {
    setenv("TZ", "UTC", 1);
    tzset();
    g_clock_calls = 0;
    base::Time::SetNowFunctionForTesting(&SteppingClock);
    logging::SetMinLogLevel(logging::LOG_INFO);
    av::log_level = 0;
    subscription_ = evt::EventManager::GetInstance()->Subscribe(
        evt::EventManager::kAllEvents, [this](const evt::Event& event) {
          published_.push_back(Published{event.id(), event.ReadStrings()});
        });
    manager_ = AvManagerImpl::GetInstance();
  }
  void TearDown() override {
    evt::EventManager::GetInstance()->Unsubscribe(subscription_);
    evt::EventManager::GetInstance()->SetCreateEventFailsForTesting(false);
    base::Time::SetNowFunctionForTesting(nullptr);
    manager_->Destroy();
    manager_->RegisterMethod();
  }

  AvManagerImpl* manager_ = nullptr;
  std::vector<Published> published_;
  int subscription_ = 0;
};

TEST_F(AvManagerImplTest, DiscoveryRecordsTheDeviceAndPublishesEvent35) {
  const std::string id = std::string("tv \"1\"\\\x01\n\xC3\xA9<", 12);
  logging::ScopedLogCapture capture;
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

  ASSERT_EQ(1u, published_.size());
  EXPECT_EQ(35, published_[0].id);
  EXPECT_EQ((std::vector<std::string>{id, "av_plugin"}), published_[0].strings);

  const std::string prefix = " #av#OnDiscovery#  ";
  const std::vector<std::string> lines = {prefix + "AvManagerImpl OnDiscovery()",
                                          prefix + "rdf_properties = " + info.rdf_properties,
                                          prefix + "EventPublished: 35, device_id = " + id,
                                          " #av#GetDeviceProperty#  stub: GetDeviceProperty"};
  EXPECT_EQ(lines, capture.messages());
}

TEST_F(AvManagerImplTest, RediscoveryReplacesAndDisconnectionKeepsTheRecord) {
  EXPECT_TRUE(manager_->OnDiscovery("tv-1"));
  EXPECT_TRUE(manager_->OnDiscovery("tv-1"));
  device::_DeviceInfo info;
  ASSERT_TRUE(manager_->GetDeviceProperty("tv-1", &info));
  EXPECT_EQ("2014-05-09 07:05:04", info.discovery_datetime);

  logging::ScopedLogCapture capture;
  EXPECT_TRUE(manager_->OnDeviceDisconnection("tv-1"));
  EXPECT_TRUE(manager_->OnDeviceDisconnection("never-seen"));
  ASSERT_TRUE(manager_->GetDeviceProperty("tv-1", &info));
  EXPECT_FALSE(manager_->GetDeviceProperty("never-seen", &info));

  ASSERT_EQ(4u, published_.size());
  EXPECT_EQ(35, published_[1].id);
  EXPECT_EQ(37, published_[2].id);
  EXPECT_EQ((std::vector<std::string>{"tv-1", "av_plugin", "2014-05-09 07:05:05"}),
            published_[2].strings);
  EXPECT_EQ((std::vector<std::string>{"never-seen", "av_plugin", "2014-05-09 07:05:06"}),
            published_[3].strings);
  EXPECT_EQ(1, capture.Count(" #av#OnDeviceDisconnection#  EventPublished: 37, device_id = tv-1"));
  EXPECT_EQ(2, capture.Count(" #av#OnDeviceDisconnection#  AvManagerImpl::OnDeviceDisconnection"));
}

TEST_F(AvManagerImplTest, WithoutAnEventDiscoveryStillRecordsAndDisconnectionTakesNoTime) {
  evt::EventManager::GetInstance()->SetCreateEventFailsForTesting(true);
  logging::ScopedLogCapture capture;
  EXPECT_FALSE(manager_->OnDiscovery("tv-2"));
  device::_DeviceInfo info;
  EXPECT_TRUE(manager_->GetDeviceProperty("tv-2", &info));
  const int clock_calls = g_clock_calls;
  EXPECT_FALSE(manager_->OnDeviceDisconnection("tv-2"));
  EXPECT_EQ(clock_calls, g_clock_calls);
  EXPECT_TRUE(published_.empty());
  for (const std::string& line : capture.messages())
    EXPECT_EQ(std::string::npos, line.find("EventPublished")) << line;
}

TEST_F(AvManagerImplTest, PropertyReadsOfUnknownIdsOrIntoNothing) {
  manager_->OnDiscovery("tv-3");
  device::_DeviceInfo info;
  info.device_id = "mine";
  info.number_21 = 9;
  logging::ScopedLogCapture capture;
  EXPECT_FALSE(manager_->GetDeviceProperty("TV-3", &info));
  EXPECT_FALSE(manager_->GetDeviceProperty("", &info));
  EXPECT_EQ("mine", info.device_id);
  EXPECT_EQ(9, info.number_21);
  EXPECT_FALSE(manager_->GetDeviceProperty("tv-3", nullptr));
  const std::string prefix = " #av#GetDeviceProperty#  ";
  EXPECT_EQ(3, capture.Count(prefix + "stub: GetDeviceProperty"));
  EXPECT_TRUE(capture.Has(logging::LOG_ERROR, prefix + "Invalid parameter."));
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
  runtime::Reflection::MethodInfo method;
  ASSERT_TRUE(reflection->GetMethod("av_plugin", "AvManagerImpl", "OnDiscovery", &method));
  EXPECT_EQ("bool", method.return_type);
  EXPECT_EQ(std::vector<std::string>{"std::string"}, method.params_type);

  logging::ScopedLogCapture capture;
  EXPECT_TRUE(manager_->Destroy());
  EXPECT_FALSE(manager_->GetDeviceProperty("tv-4", &info));
  EXPECT_TRUE(capture.Has(logging::LOG_INFO, " #av#Destroy#  Destroy"));
  EXPECT_EQ(manager_, AvManagerImpl::GetInstance());  // no new Init: still withdrawn
  EXPECT_EQ(0u, reflection->CountMethods("av_plugin"));
}

TEST_F(AvManagerImplTest, WithoutARegistryNothingIsRegisteredAndDestroyStillEmpties) {
  manager_->OnDiscovery("tv-5");
  runtime::Runtime::GetInstance()->SetReflectionOfferedForTesting(false);
  EXPECT_FALSE(manager_->UnRegisterMethod());
  EXPECT_FALSE(manager_->RegisterMethod());
  EXPECT_TRUE(manager_->Destroy());
  runtime::Runtime::GetInstance()->SetReflectionOfferedForTesting(true);
  device::_DeviceInfo info;
  EXPECT_FALSE(manager_->GetDeviceProperty("tv-5", &info));
  EXPECT_EQ(3u, runtime::Runtime::GetInstance()->GetReflection()->CountMethods("av_plugin"));
}

TEST_F(AvManagerImplTest, NotSupportedRequestsSucceedAndFollowThePlatformLevelOnly) {
  DevicePluginManagerItf* itf = manager_;
  manager_->OnDiscovery("tv-6");
  struct Row {
    int platform_min;
    int module_level;
    bool written;
  };
  for (const Row& row : {Row{0, 2, true}, Row{1, 0, false}}) {
    logging::SetMinLogLevel(row.platform_min);
    av::log_level = row.module_level;
    logging::ScopedLogCapture capture;
    EXPECT_TRUE(itf->RegisterDeviceRequest("", "", ""));
    EXPECT_TRUE(itf->UnregisterDeviceRequest("a", "b"));
    EXPECT_TRUE(itf->ManualRescanDevices());
    EXPECT_TRUE(itf->DeleteDeviceRequest());
    const std::vector<std::string> lines = {
        "This plugin does not support register. Return ok directly.",
        "This plugin does not support unregister. Return ok directly.",
        "This plugin does not support manual rescan. Return ok directly.",
        "This plugin does not support delete. Return ok directly."};
    EXPECT_EQ(row.written ? lines : std::vector<std::string>(), capture.messages());
  }
  device::_DeviceInfo info;
  EXPECT_TRUE(manager_->GetDeviceProperty("tv-6", &info));
}

}  // namespace
}  // namespace plugin
