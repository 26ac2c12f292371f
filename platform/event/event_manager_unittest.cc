// The event bus calls its subscribers without holding its lock; the concurrency cases run
// under ThreadSanitizer in CI (CTest label "concurrency").

#include "event/event_manager.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/synchronization/waitable_event.h"
#include "base/test/blocked_thread.h"
#include "base/test/deadlock_guard.h"
#include "event/event.h"
#include "gtest/gtest.h"
#include "ipc/pickle.h"

namespace evt {
namespace {

void Publish(int id) {
  std::unique_ptr<Event> event(EventManager::GetInstance()->CreateEvent(id));
  EventManager::GetInstance()->PublishEvent(event.get());
}

TEST(EventManagerTest, SubscribersReceiveTheirIdsInOrderBeforePublishReturns) {
  EventManager* bus = EventManager::GetInstance();
  std::vector<std::string> seen;
  int last = 0;
  // The first callback ends the last subscription before the last one's turn.
  const int first = bus->Subscribe(35, [&](const Event& e) {
    seen.push_back("first:" + std::to_string(e.id()) + ":" + e.ReadStrings().at(0));
    bus->Unsubscribe(last);
  });
  const int all = bus->Subscribe(EventManager::kAllEvents, [&](const Event& e) {
    seen.push_back("all:" + std::to_string(e.id()));
  });
  const int other = bus->Subscribe(37, [&](const Event&) { seen.push_back("other"); });
  last = bus->Subscribe(35, [&](const Event&) { seen.push_back("last"); });

  std::unique_ptr<Event> event(bus->CreateEvent(35));
  Pickle pickle;
  pickle.WriteString("tv-1");
  event->SetData(pickle);
  EXPECT_TRUE(bus->PublishEvent(event.get()));
  EXPECT_EQ((std::vector<std::string>{"first:35:tv-1", "all:35"}), seen);

  for (int handle : {first, all, other})
    bus->Unsubscribe(handle);
  seen.clear();
  EXPECT_TRUE(bus->PublishEvent(event.get()));
  EXPECT_TRUE(seen.empty());
  EXPECT_FALSE(bus->PublishEvent(nullptr));
}

// 60: a callback that waits for a thread publishing 61; 63, twice: a callback that ends its
// own subscription.
void PublishNestedAndSelfEnding() {
  Publish(60);
  Publish(63);
  Publish(63);
}

TEST(EventManagerTest, SubscriberMayWaitForAThreadThatPublishesOrUnsubscribeItself) {
  EventManager* bus = EventManager::GetInstance();
  std::atomic<int> inner_calls{0};
  const int inner = bus->Subscribe(61, [&inner_calls](const Event&) { ++inner_calls; });
  const int outer = bus->Subscribe(60, [](const Event&) { std::thread(Publish, 61).join(); });
  int self = 0;
  self = bus->Subscribe(63, [bus, &self, &inner_calls](const Event&) {
    ++inner_calls;
    bus->Unsubscribe(self);
  });
  base::test::RunOrExitOnDeadlock("callbacks that publish and end their own subscription",
                                  std::chrono::seconds(10), &PublishNestedAndSelfEnding);
  EXPECT_EQ(2, inner_calls.load());
  bus->Unsubscribe(outer);
  bus->Unsubscribe(inner);
}

TEST(EventManagerTest, UnsubscribeWaitsForACallOnAnotherThread) {
  EventManager* bus = EventManager::GetInstance();
  base::WaitableEvent entered(true, false);
  base::WaitableEvent release(true, false);
  std::atomic<bool> finished{false};
  const int held = bus->Subscribe(62, [&](const Event&) {
    entered.Signal();
    release.Wait();
    finished = true;
  });
  std::thread publisher(Publish, 62);
  entered.Wait();
  const pid_t test_thread = base::test::CurrentThreadId();
  std::thread releaser([&] {
    EXPECT_TRUE(base::test::WaitUntilBlocked(test_thread));  // in Unsubscribe(), waiting
    release.Signal();
  });
  bus->Unsubscribe(held);
  EXPECT_TRUE(finished);  // Unsubscribe() returned only after the call had ended
  releaser.join();
  publisher.join();
}

}  // namespace
}  // namespace evt
