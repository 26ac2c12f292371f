#include "base/synchronization/waitable_event.h"

namespace base {

WaitableEvent::WaitableEvent(bool manual_reset, bool initially_signaled)
    : manual_reset_(manual_reset), signaled_(initially_signaled) {}

WaitableEvent::~WaitableEvent() = default;

void WaitableEvent::Reset() {
  std::lock_guard<std::mutex> lock(lock_);
  signaled_ = false;
}

void WaitableEvent::Signal() {
  std::lock_guard<std::mutex> lock(lock_);
  signaled_ = true;
  // An auto-reset event wakes one waiter; the others would only find the signal gone.
  if (manual_reset_)
    cond_.notify_all();
  else
    cond_.notify_one();
}

bool WaitableEvent::IsSignaled() {
  std::lock_guard<std::mutex> lock(lock_);
  return ConsumeSignalLocked();
}

void WaitableEvent::Wait() {
  std::unique_lock<std::mutex> lock(lock_);
  cond_.wait(lock, [this] { return signaled_; });
  ConsumeSignalLocked();
}

bool WaitableEvent::TimedWait(std::chrono::milliseconds max_time) {
  std::unique_lock<std::mutex> lock(lock_);
  if (!cond_.wait_for(lock, max_time, [this] { return signaled_; }))
    return false;
  return ConsumeSignalLocked();
}

bool WaitableEvent::ConsumeSignalLocked() {
  if (!signaled_)
    return false;
  if (!manual_reset_)
    signaled_ = false;
  return true;
}

}  // namespace base
