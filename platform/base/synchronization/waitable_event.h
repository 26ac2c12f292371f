// An event that threads wait on until another thread signals it.
//
//   base::WaitableEvent done(false, false);
//   thread.PostTask(FROM_HERE, [&done] { Work(); done.Signal(); });
//   done.Wait();
//
// A manual-reset event stays signalled until Reset(); an auto-reset event lets one waiter
// through per Signal() and returns to unsignalled as that waiter wakes. Every method may be
// called from any thread.

#ifndef BASE_SYNCHRONIZATION_WAITABLE_EVENT_H_
#define BASE_SYNCHRONIZATION_WAITABLE_EVENT_H_

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace base {

class WaitableEvent {
 public:
  WaitableEvent(bool manual_reset, bool initially_signaled);
  ~WaitableEvent();
  WaitableEvent(const WaitableEvent&) = delete;
  WaitableEvent& operator=(const WaitableEvent&) = delete;

  void Reset();
  void Signal();

  // Whether the event is signalled. On an auto-reset event a true answer consumes the
  // signal, as a Wait() would.
  bool IsSignaled();

  // Blocks until the event is signalled.
  void Wait();

  // Blocks until the event is signalled or |max_time| has passed; true when signalled.
  bool TimedWait(std::chrono::milliseconds max_time);

 private:
  // Takes the signal when it is there; |lock_| is held.
  bool ConsumeSignalLocked();

  const bool manual_reset_;
  std::mutex lock_;
  std::condition_variable cond_;
  bool signaled_;
};

}  // namespace base

#endif  // BASE_SYNCHRONIZATION_WAITABLE_EVENT_H_
