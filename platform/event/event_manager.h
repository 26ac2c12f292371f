// The platform's event bus. Publishers create an event, fill it, publish it and destroy it;
// subscribers receive every published event of the ids they subscribed to, on the
// publisher's thread, before PublishEvent returns. Callbacks run without the bus's lock.

#ifndef EVENT_EVENT_MANAGER_H_
#define EVENT_EVENT_MANAGER_H_

#include <atomic>
#include <functional>
#include <map>
#include <memory>
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
  //
  // What a publication delivers to is fixed when it starts: a subscription made during
  // it receives only later events, and one that ends during it is skipped if its turn has
  // not come yet. Publications from several threads run at once, so a callback may be
  // called on two threads at the same time, and two subscribers may see two events that
  // were published at the same time in different orders.
  virtual bool PublishEvent(Event* event);

  // Calls |callback| for each event of |id| published from now on; returns the
  // subscription's handle. Callbacks run on the publishing thread without the bus's lock:
  // they may subscribe, unsubscribe and publish, and wait for other threads that do.
  int Subscribe(int id, Callback callback);

  // Ends a subscription. Once this returns, its callback is not running on any other
  // thread and will not be called again; the callback is destroyed by then, unless this is
  // called from the callback itself, which then ends first. A callback must therefore not
  // wait for a thread that is ending its own subscription.
  void Unsubscribe(int handle);

  // Makes CreateEvent() give null while |fails| is true.
  void SetCreateEventFailsForTesting(bool fails);

 protected:
  EventManager();
  virtual ~EventManager();

 private:
  friend struct LeakySingletonTraits<EventManager>;

  struct Subscription;

  std::mutex lock_;
  int next_handle_ = 1;
  // By handle, so in subscription order. A publication shares a subscription with the
  // table until it has called it.
  std::map<int, std::shared_ptr<Subscription>> subscriptions_;
  std::atomic<bool> create_fails_{false};
};

}  // namespace evt

#endif  // EVENT_EVENT_MANAGER_H_
