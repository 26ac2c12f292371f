#include "base/synchronization/call_gate.h"

#include <algorithm>
#include <vector>

namespace base {

namespace {

// The gates of the calls running on this thread, innermost last.
thread_local std::vector<const CallGate*> g_calls_on_this_thread;

}  // namespace

CallGate::CallGate() = default;

CallGate::~CallGate() = default;

bool CallGate::Enter() {
  std::lock_guard<std::mutex> lock(lock_);
  if (closed_)
    return false;
  ++calls_;
  g_calls_on_this_thread.push_back(this);
  return true;
}

bool CallGate::Leave() {
  auto& calls = g_calls_on_this_thread;
  auto mine = std::find(calls.rbegin(), calls.rend(), this);
  if (mine != calls.rend())
    calls.erase(std::next(mine).base());
  std::lock_guard<std::mutex> lock(lock_);
  --calls_;
  if (closed_)
    call_ended_.notify_all();
  return calls_ == 0 && left_to_last_call_;
}

bool CallGate::Close() {
  const auto& calls = g_calls_on_this_thread;
  const int own_calls = static_cast<int>(std::count(calls.begin(), calls.end(), this));
  std::unique_lock<std::mutex> lock(lock_);
  closed_ = true;
  call_ended_.wait(lock, [this, own_calls] { return calls_ == own_calls; });
  left_to_last_call_ = calls_ != 0;
  return calls_ == 0;
}

}  // namespace base
