// The platform's event bus. Publishers create an event, fill it, publish it and destroy it;
// subscribers receive every published event of the ids they subscribed to, on the
// publisher's thread, before PublishEvent returns.

#ifndef EVENT_EVENT_MANAGER_H_
#define EVENT_EVENT_MANAGER_H_

#include <atomic>
#include <functional>
#include <map>
#include <mutex>

template <typename Type>
struct LeakySingletonTraits;

namespace evt {

class Event;

// Event ids published by device plugins.
enum EventId {
  kEventDeviceDiscovered = 35,
  kEventDeviceDisconnected = 37,
};

class EventManager {
 public:
  typedef std::function<void(const Event& event)> Callback;

  // Subscribing to kAllEvents receives every event.
  static const int kAllEvents = -1;

  static EventManager* GetInstance();

  EventManager(const EventManager&) = delete;
  EventManager& operator=(const EventManager&) = delete;

  // A new, empty event for |id|. The caller owns it. Null when no event can be made.
  virtual Event* CreateEvent(int id);

  // Delivers |event| to the subscribers of its id, in the order they subscribed, and
  // returns after the last one. Keeps no pointer to |event|, which stays the caller's.
  virtual bool PublishEvent(Event* event);

  // Calls |callback| for each event of |id| published from now on; returns the
  // subscription's handle. Callbacks run on the publishing thread, under the bus's lock:
  // they may subscribe, unsubscribe and publish, but must not wait for another thread that
  // uses the bus.
  int Subscribe(int id, Callback callback);

  // Ends a subscription. Once this returns, its callback is not running and will not run.
  void Unsubscribe(int handle);

  // Makes CreateEvent() give null while |fails| is true.
  void SetCreateEventFailsForTesting(bool fails);

 protected:
  EventManager();
  virtual ~EventManager();

 private:
  friend struct LeakySingletonTraits<EventManager>;

  struct Subscription {
    int id;
    Callback callback;
  };

  std::recursive_mutex lock_;
  int next_handle_ = 1;
  std::map<int, Subscription> subscriptions_;  // by handle, so in subscription order
  std::atomic<bool> create_fails_{false};
};

}  // namespace evt

#endif  // EVENT_EVENT_MANAGER_H_
