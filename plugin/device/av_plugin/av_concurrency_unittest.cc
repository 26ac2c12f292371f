// Concurrent use of the plugin's singletons and device registry. Run under ThreadSanitizer
// in CI (CTest label "concurrency").

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <thread>

#include "base/synchronization/waitable_event.h"
#include "plugin/device/av_plugin/av_manager_impl.h"
#include "plugin/device/av_plugin/test/av_test.h"
#include "runtime/runtime.h"

namespace plugin {
namespace {

// Runs |body|(i) on |threads| threads, released together once all of them have started.
void RunTogether(int threads, const std::function<void(int)>& body) {
  std::atomic<int> starting{threads};
  base::WaitableEvent go(true, false);
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    workers.emplace_back([&, i] {
      if (--starting == 0)
        go.Signal();
      go.Wait();
      body(i);
    });
  }
  for (auto& worker : workers)
    worker.join();
}

// Races the first uses of the manager; exits 0 when it wrote "Call Init()" once, and says
// on stderr how often it did. (That every thread gets the one instance is the platform
// Singleton's, tested with it.)
void FirstUseFromManyThreads() {
  logging::ScopedLogCapture capture;
  constexpr int kThreads = 8;
  // The manager's first registration, made while it is being built, waits until every
  // thread has asked for the manager.
  std::atomic<int> arriving{kThreads};
  base::WaitableEvent all_arrived(true, false);
  RecordingReflection reflection;
  reflection.before_parse = [&all_arrived] { all_arrived.Wait(); };
  runtime::Runtime::GetInstance()->SetReflectionForTesting(&reflection);
  RunTogether(kThreads, [&](int) {
    if (--arriving == 0)
      all_arrived.Signal();
    AvManagerImpl::GetInstance();
  });
  const int inits = capture.Count(" #av#Init#  Call Init()");
  std::fprintf(stderr, "Call Init() written %d times\n", inits);
  std::exit(inits == 1 ? 0 : 1);
}

// The race runs in a new process (the death test style "threadsafe" starts the test
// program again for it), where nothing has used the singletons yet.
TEST(AvConcurrencyDeathTest, FirstUseFromManyThreadsInitsOnce) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(FirstUseFromManyThreads(), testing::ExitedWithCode(0),
              "Call Init\\(\\) written 1 times");
}

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
