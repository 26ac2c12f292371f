#include "base/memory/singleton.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "base/test/deadlock_guard.h"
#include "gtest/gtest.h"

namespace {

constexpr int kThreads = 8;

std::mutex g_lock;
std::condition_variable g_changed;
int g_constructions = 0;  // guarded by g_lock
int g_waiters = 0;        // guarded by g_lock

// Its constructor finishes only once every other first caller has either found it under
// construction or begun a construction of its own, so the callers always race for it.
class Latched {
 public:
  static Latched* GetInstance() { return Singleton<Latched, Traits, Latched>::get(); }
  int value() const { return value_; }

 private:
  struct Traits : LeakySingletonTraits<Latched> {
    static Latched* New() { return new Latched(); }
    static void WillWaitForInstance() {
      std::lock_guard<std::mutex> lock(g_lock);
      ++g_waiters;
      g_changed.notify_all();
    }
  };

  Latched() {
    std::unique_lock<std::mutex> lock(g_lock);
    ++g_constructions;
    g_changed.notify_all();
    g_changed.wait(lock, [] { return g_waiters == kThreads - 1 || g_constructions > 1; });
    value_ = 1234;
  }
  int value_ = 0;
};

TEST(SingletonTest, ConcurrentFirstCallersShareOneFullyBuiltInstance) {
  std::vector<Latched*> seen(kThreads, nullptr);
  std::vector<int> values(kThreads, 0);
  base::test::RunOrExitOnDeadlock("first callers of a singleton", std::chrono::seconds(10), [&] {
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&, i] {
        seen[i] = Latched::GetInstance();
        values[i] = seen[i]->value();
      });
    }
    for (auto& thread : threads)
      thread.join();
  });
  EXPECT_EQ(1, g_constructions);
  EXPECT_EQ(kThreads - 1, g_waiters);
  for (int i = 0; i < kThreads; ++i) {
    EXPECT_EQ(seen[0], seen[i]);
    EXPECT_EQ(1234, values[i]);  // nobody sees the object before its constructor finished
  }
}

}  // namespace
