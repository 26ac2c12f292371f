#include "event/event_manager.h"

#include <utility>
#include <vector>

#include "base/memory/singleton.h"
#include "base/synchronization/call_gate.h"
#include "event/event.h"

namespace evt {

struct EventManager::Subscription {
  Subscription(int event_id, Callback event_callback)
      : id(event_id), callback(std::move(event_callback)) {}

  const int id;
  // Reset by whoever ends the last call, once the subscription has ended.
  Callback callback;
  base::CallGate calls;
};

// static
EventManager* EventManager::GetInstance() {
  return Singleton<EventManager, LeakySingletonTraits<EventManager>, EventManager>::get();
}

EventManager::EventManager() = default;

EventManager::~EventManager() = default;

Event* EventManager::CreateEvent(int id) {
  if (create_fails_.load())
    return nullptr;
  return new Event(id);
}

bool EventManager::PublishEvent(Event* event) {
  if (event == nullptr)
    return false;
  std::vector<std::shared_ptr<Subscription>> targets;
  {
    std::lock_guard<std::mutex> lock(lock_);
    for (const auto& entry : subscriptions_) {
      if (entry.second->id == event->id() || entry.second->id == kAllEvents)
        targets.push_back(entry.second);
    }
  }
  for (const auto& subscription : targets) {
    // Refused once the subscription has ended.
    if (!subscription->calls.Enter())
      continue;
    subscription->callback(*event);
    if (subscription->calls.Leave())
      subscription->callback = nullptr;
  }
  return true;
}

int EventManager::Subscribe(int id, Callback callback) {
  auto subscription = std::make_shared<Subscription>(id, std::move(callback));
  std::lock_guard<std::mutex> lock(lock_);
  const int handle = next_handle_++;
  subscriptions_[handle] = std::move(subscription);
  return handle;
}

void EventManager::Unsubscribe(int handle) {
  std::shared_ptr<Subscription> ended;
  {
    std::lock_guard<std::mutex> lock(lock_);
    auto it = subscriptions_.find(handle);
    if (it == subscriptions_.end())
      return;
    ended = std::move(it->second);
    subscriptions_.erase(it);
  }
  // Waits for the calls on other threads.
  if (ended->calls.Close())
    ended->callback = nullptr;
}

void EventManager::SetCreateEventFailsForTesting(bool fails) {
  create_fails_.store(fails);
}

}  // namespace evt
