#include "event/event_manager.h"

#include <memory>
#include <string>
#include <vector>

#include "event/event.h"
#include "gtest/gtest.h"
#include "ipc/pickle.h"

namespace evt {
namespace {

TEST(EventManagerTest, SubscribersReceiveTheirIdsInOrderBeforePublishReturns) {
  EventManager* bus = EventManager::GetInstance();
  std::vector<std::string> seen;
  const int first = bus->Subscribe(35, [&](const Event& e) {
    seen.push_back("first:" + std::to_string(e.id()) + ":" + e.ReadStrings().at(0));
  });
  const int all = bus->Subscribe(EventManager::kAllEvents, [&](const Event& e) {
    seen.push_back("all:" + std::to_string(e.id()));
  });
  const int other = bus->Subscribe(37, [&](const Event&) { seen.push_back("other"); });

  std::unique_ptr<Event> event(bus->CreateEvent(35));
  ASSERT_TRUE(event);
  Pickle pickle;
  pickle.WriteString("tv-1");
  pickle.WriteString("av_plugin");
  event->SetData(pickle);
  EXPECT_TRUE(bus->PublishEvent(event.get()));
  const std::vector<std::string> expected = {"first:35:tv-1", "all:35"};
  EXPECT_EQ(expected, seen);
  EXPECT_EQ((std::vector<std::string>{"tv-1", "av_plugin"}), event->ReadStrings());

  for (int handle : {first, all, other})
    bus->Unsubscribe(handle);
  seen.clear();
  EXPECT_TRUE(bus->PublishEvent(event.get()));
  EXPECT_TRUE(seen.empty());
  EXPECT_FALSE(bus->PublishEvent(nullptr));
}

TEST(EventManagerTest, CallbackMayUnsubscribeOthersDuringDelivery) {
  EventManager* bus = EventManager::GetInstance();
  int second_calls = 0;
  int second = 0;
  const int first = bus->Subscribe(40, [&](const Event&) { bus->Unsubscribe(second); });
  second = bus->Subscribe(40, [&](const Event&) { ++second_calls; });
  std::unique_ptr<Event> event(bus->CreateEvent(40));
  bus->PublishEvent(event.get());
  EXPECT_EQ(0, second_calls);
  bus->Unsubscribe(first);
}

TEST(EventManagerTest, CreateEventCanBeMadeToFail) {
  EventManager* bus = EventManager::GetInstance();
  bus->SetCreateEventFailsForTesting(true);
  EXPECT_EQ(nullptr, bus->CreateEvent(35));
  bus->SetCreateEventFailsForTesting(false);
  std::unique_ptr<Event> event(bus->CreateEvent(37));
  ASSERT_TRUE(event);
  EXPECT_EQ(37, event->id());
  EXPECT_TRUE(event->data().empty());
}

}  // namespace
}  // namespace evt
