// Concurrent use of the plugin's singletons and device registry. Run under ThreadSanitizer
// in CI (CTest label "concurrency").

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "base/logging.h"
#include "device/device_info.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_manager_impl.h"
#include "plugin/device/av_plugin/av_service.h"

namespace plugin {
namespace {

bool DropLine(int, const char*, int, size_t, const std::string&) {
  return true;
}

void StartTogether(int threads, const std::function<void(int)>& body) {
  std::atomic<bool> go{false};
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    workers.emplace_back([&go, &body, i] {
      while (!go.load()) {
        std::this_thread::yield();
      }
      body(i);
    });
  }
  go.store(true);
  for (auto& worker : workers)
    worker.join();
}

// Must run first in this process: nothing has created the singletons yet.
TEST(AvConcurrencyTest, FirstUseOfBothSingletonsFromManyThreads) {
  logging::SetLogMessageHandler(&DropLine);
  constexpr int kThreads = 12;
  std::vector<AvManagerImpl*> managers(kThreads, nullptr);
  std::vector<AvService*> services(kThreads, nullptr);
  StartTogether(kThreads, [&](int i) {
    if (i % 2) {
      services[i] = AvService::GetInstance();
      managers[i] = AvManagerImpl::GetInstance();
    } else {
      managers[i] = AvManagerImpl::GetInstance();
      services[i] = AvService::GetInstance();
    }
  });
  for (int i = 0; i < kThreads; ++i) {
    EXPECT_EQ(managers[0], managers[i]);
    EXPECT_EQ(services[0], services[i]);
  }
  EXPECT_NE(nullptr, managers[0]);
}

TEST(AvConcurrencyTest, DiscoveryReadsAndDisconnectionsThenOneDestroy) {
  logging::SetLogMessageHandler(&DropLine);
  AvManagerImpl* manager = AvManagerImpl::GetInstance();
  constexpr int kThreads = 6;
  constexpr int kRounds = 200;
  std::atomic<int> mismatches{0};
  StartTogether(kThreads, [&](int thread) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string id = "dev-" + std::to_string((thread + round) % 10);
      switch (thread % 3) {
        case 0:
          manager->OnDiscovery(id);
          break;
        case 1: {
          device::_DeviceInfo info;
          if (manager->GetDeviceProperty(id, &info) &&
              (info.device_id != id || info.number_21 != 30)) {
            mismatches.fetch_add(1);
          }
          break;
        }
        default:
          manager->OnDeviceDisconnection(id);
      }
    }
  });
  EXPECT_EQ(0, mismatches.load());
  device::_DeviceInfo info;
  EXPECT_TRUE(manager->GetDeviceProperty("dev-0", &info));

  // Readers keep reading while Destroy empties the registry.
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
