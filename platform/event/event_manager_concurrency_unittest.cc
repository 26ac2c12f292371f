// The event bus calls its subscribers without holding its lock. Run under ThreadSanitizer
// in CI (CTest label "concurrency").

#include <atomic>
#include <future>
#include <memory>
#include <thread>

#include "base/synchronization/waitable_event.h"
#include "base/test/deadlock_guard.h"
#include "event/event.h"
#include "event/event_manager.h"
#include "gtest/gtest.h"

namespace evt {
namespace {

const std::chrono::seconds kDeadlockLimit(10);

void Publish(int id) {
  std::unique_ptr<Event> event(EventManager::GetInstance()->CreateEvent(id));
  EventManager::GetInstance()->PublishEvent(event.get());
}

TEST(EventManagerConcurrencyTest, SubscriberMayWaitForAThreadThatPublishes) {
  EventManager* bus = EventManager::GetInstance();
  std::atomic<int> inner_calls{0};
  const int inner = bus->Subscribe(61, [&inner_calls](const Event&) { ++inner_calls; });
  const int outer = bus->Subscribe(60, [](const Event&) {
    std::thread publisher([] { Publish(61); });
    publisher.join();
  });
  base::test::RunOrExitOnDeadlock("a subscriber waiting for a publishing thread", kDeadlockLimit,
                                  [] { Publish(60); });
  EXPECT_EQ(1, inner_calls.load());
  bus->Unsubscribe(outer);
  bus->Unsubscribe(inner);
}

TEST(EventManagerConcurrencyTest, UnsubscribeWaitsForACallElsewhereButNotForItsOwn) {
  EventManager* bus = EventManager::GetInstance();
  base::WaitableEvent entered(true, false);
  base::WaitableEvent release(true, false);
  std::atomic<bool> finished{false};
  const int held = bus->Subscribe(62, [&](const Event&) {
    entered.Signal();
    release.Wait();
    finished = true;
  });
  std::thread publisher([] { Publish(62); });
  entered.Wait();
  auto ended = std::async(std::launch::async, [bus, held, &finished] {
    bus->Unsubscribe(held);
    return finished.load();
  });
  EXPECT_EQ(std::future_status::timeout, ended.wait_for(std::chrono::milliseconds(50)));
  release.Signal();
  EXPECT_TRUE(ended.get());  // Unsubscribe() returned only after the call had ended
  publisher.join();

  int calls = 0;
  int self = 0;
  self = bus->Subscribe(63, [bus, &calls, &self](const Event&) {
    ++calls;
    bus->Unsubscribe(self);
  });
  base::test::RunOrExitOnDeadlock("a callback ending its own subscription", kDeadlockLimit, [] {
    Publish(63);
    Publish(63);
  });
  EXPECT_EQ(1, calls);
}

}  // namespace
}  // namespace evt
