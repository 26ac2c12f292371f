#include "event/event_manager.h"

#include <vector>

#include "base/memory/singleton.h"
#include "event/event.h"

namespace evt {

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
  std::lock_guard<std::recursive_mutex> lock(lock_);
  std::vector<int> handles;
  for (const auto& entry : subscriptions_) {
    if (entry.second.id == event->id() || entry.second.id == kAllEvents)
      handles.push_back(entry.first);
  }
  // A callback may unsubscribe itself or others; look each one up again before calling.
  for (int handle : handles) {
    auto it = subscriptions_.find(handle);
    if (it == subscriptions_.end())
      continue;
    Callback callback = it->second.callback;
    callback(*event);
  }
  return true;
}

int EventManager::Subscribe(int id, Callback callback) {
  std::lock_guard<std::recursive_mutex> lock(lock_);
  const int handle = next_handle_++;
  subscriptions_[handle] = Subscription{id, std::move(callback)};
  return handle;
}

void EventManager::Unsubscribe(int handle) {
  std::lock_guard<std::recursive_mutex> lock(lock_);
  subscriptions_.erase(handle);
}

void EventManager::SetCreateEventFailsForTesting(bool fails) {
  create_fails_.store(fails);
}

}  // namespace evt
