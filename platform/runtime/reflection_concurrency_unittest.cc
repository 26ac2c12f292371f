// The reflection registry runs invoked methods without holding its lock, and destroys a
// container once no call of it runs. Run under ThreadSanitizer in CI (CTest label
// "concurrency").

#include <atomic>
#include <functional>
#include <future>
#include <thread>

#include "base/synchronization/waitable_event.h"
#include "base/test/deadlock_guard.h"
#include "gtest/gtest.h"
#include "runtime/reflection.h"
#include "runtime/reflection_templates.h"

namespace runtime {
namespace {

const std::chrono::seconds kDeadlockLimit(10);

// A method without parameters that runs |body|; counts its container's destructions.
class CallbackContainer : public FunctionMethodContainerBase {
 public:
  CallbackContainer(std::function<void()> body, std::atomic<int>* destroyed)
      : FunctionMethodContainerBase(0, "void", {}), body_(std::move(body)), destroyed_(destroyed) {}
  ~CallbackContainer() override { ++*destroyed_; }
  void invoke(void*, void*, void**) override { body_(); }

 private:
  const std::function<void()> body_;
  std::atomic<int>* const destroyed_;
};

class ReflectionConcurrencyTest : public testing::Test {
 protected:
  void Add(const char* method, std::function<void()> body) {
    reflection_.AddMethod("c", "K", method, "void", {},
                          new CallbackContainer(std::move(body), &destroyed_));
  }
  bool Invoke(const char* method) {
    return reflection_.Invoke("c", "K", method, nullptr, nullptr, nullptr);
  }
  bool Remove(const char* method) { return reflection_.RemoveMethod("c", "K", method, "void", {}); }

  std::atomic<int> destroyed_{0};
  Reflection reflection_;
};

// As when "GetInstance" is invoked while the object it returns is being built on another
// thread, which registers its methods.
TEST_F(ReflectionConcurrencyTest, InvokedMethodMayWaitForAThreadThatRegisters) {
  Add("Build", [this] { std::thread([this] { Add("Later", [] {}); }).join(); });
  base::test::RunOrExitOnDeadlock("a method waiting for a thread that registers", kDeadlockLimit,
                                  [this] { EXPECT_TRUE(Invoke("Build")); });
  EXPECT_TRUE(reflection_.GetMethod("c", "K", "Later", nullptr));
  Add("Later", [] {});  // a replaced container is destroyed at once
  EXPECT_EQ(1, destroyed_.load());
}

TEST_F(ReflectionConcurrencyTest, RemovalWaitsForACallElsewhereAndAMethodMayRemoveItself) {
  base::WaitableEvent entered(true, false);
  base::WaitableEvent release(true, false);
  std::atomic<bool> finished{false};
  Add("Held", [&] {
    entered.Signal();
    release.Wait();
    finished = true;
  });
  std::thread caller([this] { Invoke("Held"); });
  entered.Wait();
  auto removed = std::async(std::launch::async, [&] { return Remove("Held") && finished; });
  // The method leaves the table as soon as the removal starts; the call still runs.
  while (reflection_.GetMethod("c", "K", "Held", nullptr))
    std::this_thread::yield();
  release.Signal();
  EXPECT_TRUE(removed.get());  // RemoveMethod() returned after the call had ended
  caller.join();
  EXPECT_EQ(1, destroyed_.load());
  EXPECT_FALSE(Invoke("Held"));

  int destroyed_during_call = -1;
  Add("Once", [&] {
    EXPECT_TRUE(Remove("Once"));
    destroyed_during_call = destroyed_;
  });
  base::test::RunOrExitOnDeadlock("a method removing itself", kDeadlockLimit,
                                  [this] { EXPECT_TRUE(Invoke("Once")); });
  EXPECT_EQ(1, destroyed_during_call);  // the running container outlived its removal
  EXPECT_EQ(2, destroyed_.load());      // and went once the call had returned
}

}  // namespace
}  // namespace runtime
