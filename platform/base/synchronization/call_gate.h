// Lets a callable that sits in a shared table (a subscriber's callback, a registered
// method) be called without holding the table's lock, and lets whoever takes it out of the
// table wait until its calls have ended, so that it can be destroyed safely.
//
//   // The caller, having found |entry| under the table's lock and released the lock:
//   if (entry->gate.Enter()) {
//     entry->callback();
//     if (entry->gate.Leave())
//       entry->callback = nullptr;
//   }
//   // The remover, having taken |entry| out of the table:
//   if (entry->gate.Close())
//     entry->callback = nullptr;
//
// Exactly one side destroys the callable, once no call of it runs. Close() does not wait
// for calls on its own thread (a callable that removes itself): the last of those is then
// the one whose Leave() returns true. A call must not wait for a thread that is closing
// the gate of that same callable.

#ifndef BASE_SYNCHRONIZATION_CALL_GATE_H_
#define BASE_SYNCHRONIZATION_CALL_GATE_H_

#include <condition_variable>
#include <mutex>

namespace base {

class CallGate {
 public:
  CallGate();
  ~CallGate();
  CallGate(const CallGate&) = delete;
  CallGate& operator=(const CallGate&) = delete;

  // Starts a call. False once Close() has begun: the call must not be made.
  bool Enter();

  // Ends the calling thread's latest call started with Enter(). True when the callable is
  // to be destroyed now: the gate is closed, this was its last call, and Close() has
  // returned false.
  bool Leave();

  // Refuses further calls and waits until none runs on another thread. True when no call
  // runs at all, and the caller destroys the callable; false when calls on this thread
  // still run. Called once.
  bool Close();

 private:
  std::mutex lock_;
  std::condition_variable call_ended_;
  int calls_ = 0;
  bool closed_ = false;
  // Close() has returned false: the last Leave() destroys the callable.
  bool left_to_last_call_ = false;
};

}  // namespace base

#endif  // BASE_SYNCHRONIZATION_CALL_GATE_H_
