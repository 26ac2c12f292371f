// Concurrent use of the plugin's singletons and device registry. Run under ThreadSanitizer
// in CI (CTest label "concurrency").

#include <atomic>
#include <thread>

#include "plugin/device/av_plugin/av_manager_impl.h"
#include "plugin/device/av_plugin/test/av_test.h"

namespace plugin {
namespace {

TEST_F(AvTest, ConcurrentDiscoveryReadsAndDisconnectionsThenOneDestroy) {
  AvManagerImpl* manager = AvManagerImpl::GetInstance();
  constexpr int kThreads = 6;
  constexpr int kRounds = 200;
  std::atomic<int> mismatches{0};
  RunTogether(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string id = "dev-" + std::to_string((thread + round) % 10);
      device::_DeviceInfo info;
      if (thread % 3 == 0)
        manager->OnDiscovery(id);
      else if (thread % 3 == 2)
        manager->OnDeviceDisconnection(id);
      else if (manager->GetDeviceProperty(id, &info) &&
               (info.device_id != id || info.number_21 != 30))
        mismatches.fetch_add(1);
    }
  });
  EXPECT_EQ(0, mismatches.load());
  device::_DeviceInfo info;
  EXPECT_TRUE(manager->GetDeviceProperty("dev-0", &info));

  // A reader keeps reading while Destroy empties the registry.
  std::atomic<bool> stop{false};
  std::thread reader([&] {
    while (!stop.load()) {
      device::_DeviceInfo copy;
      if (manager->GetDeviceProperty("dev-1", &copy) && copy.device_id != "dev-1")
        mismatches.fetch_add(1);
    }
  });
  EXPECT_TRUE(manager->Destroy());
  stop.store(true);
  reader.join();
  EXPECT_EQ(0, mismatches.load());
  EXPECT_FALSE(manager->GetDeviceProperty("dev-0", &info));
}

}  // namespace
}  // namespace plugin
