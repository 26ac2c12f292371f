#include "base/memory/singleton.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "gtest/gtest.h"

namespace {

std::atomic<int> g_constructions{0};

// Constructs slowly, so that the other first callers find the word under construction.
class SlowToBuild {
 public:
  static SlowToBuild* GetInstance() {
    return Singleton<SlowToBuild, LeakySingletonTraits<SlowToBuild>, SlowToBuild>::get();
  }
  int value() const { return value_; }

 private:
  friend struct LeakySingletonTraits<SlowToBuild>;
  SlowToBuild() {
    g_constructions.fetch_add(1);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    value_ = 1234;
  }
  int value_ = 0;
};

class Other {
 public:
  static Other* GetInstance() {
    return Singleton<Other, LeakySingletonTraits<Other>, Other>::get();
  }
};

TEST(SingletonTest, ConcurrentFirstCallersShareOneFullyBuiltInstance) {
  constexpr int kThreads = 16;
  std::atomic<bool> go{false};
  std::vector<SlowToBuild*> seen(kThreads, nullptr);
  std::vector<int> values(kThreads, 0);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, i] {
      while (!go.load()) {
      }
      seen[i] = SlowToBuild::GetInstance();
      values[i] = seen[i]->value();
    });
  }
  go.store(true);
  for (auto& thread : threads)
    thread.join();
  EXPECT_EQ(1, g_constructions.load());
  for (int i = 0; i < kThreads; ++i) {
    EXPECT_EQ(seen[0], seen[i]);
    EXPECT_EQ(1234, values[i]);  // nobody sees the object before its constructor finished
  }
  EXPECT_EQ(seen[0], SlowToBuild::GetInstance());
}

TEST(SingletonTest, EachTypeHasItsOwnWord) {
  EXPECT_NE(static_cast<void*>(Other::GetInstance()),
            static_cast<void*>(SlowToBuild::GetInstance()));
}

TEST(AtomicOpsTest, CompareAndSwapReturnsZeroOnlyWhenItSwapped) {
  base::subtle::AtomicWord word = 0;
  EXPECT_EQ(0, base::subtle::pLinuxKernelCmpxchg(0, 1, &word));
  EXPECT_EQ(1, word);
  EXPECT_NE(0, base::subtle::pLinuxKernelCmpxchg(0, 2, &word));
  EXPECT_EQ(1, word);
}

TEST(AtomicOpsTest, WaitForInstanceReturnsOnceTheMarkIsReplaced) {
  base::subtle::AtomicWord word = base::internal::kBeingCreatedMarker;
  std::thread publisher([&word] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    base::subtle::Release_Store(&word, 4096);
  });
  EXPECT_EQ(4096, base::internal::WaitForInstance(&word));
  publisher.join();
}

}  // namespace
