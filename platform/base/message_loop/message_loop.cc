#include "base/message_loop/message_loop.h"

#include <errno.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <utility>

#include "base/logging.h"
#include "base/tracked_objects.h"

namespace base {

namespace {

thread_local MessageLoop* g_current_loop = nullptr;

int CreateWakeUpFd() {
  const int fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  CHECK(fd >= 0);
  return fd;
}

}  // namespace

MessageLoop::Watcher::~Watcher() = default;

MessageLoop::DestructionObserver::~DestructionObserver() = default;

MessageLoop::FileDescriptorWatcher::FileDescriptorWatcher() = default;

MessageLoop::FileDescriptorWatcher::~FileDescriptorWatcher() {
  StopWatchingFileDescriptor();
}

bool MessageLoop::FileDescriptorWatcher::StopWatchingFileDescriptor() {
  if (loop_)
    loop_->RemoveWatch(this);
  return true;
}

bool MessageLoop::LaterTaskFirst::operator()(const PendingTask& a, const PendingTask& b) const {
  if (a.delayed_run_time != b.delayed_run_time)
    return a.delayed_run_time > b.delayed_run_time;
  return a.sequence_num > b.sequence_num;
}

MessageLoop::MessageLoop() : wakeup_fd_(CreateWakeUpFd()) {
  CHECK(g_current_loop == nullptr);
  g_current_loop = this;
}

MessageLoop::~MessageLoop() {
  CHECK(g_current_loop == this);
  CHECK(!running_);
  destroying_ = true;

  std::vector<DestructionObserver*> observers;
  observers.swap(destruction_observers_);
  for (DestructionObserver* observer : observers)
    observer->WillDestroyCurrentMessageLoop();

  // Watches end here; their controllers may outlive the loop.
  for (auto& entry : watches_) {
    entry.second->loop_ = nullptr;
    entry.second->id_ = 0;
  }
  watches_.clear();

  // Run what is queued, then refuse more. Delayed tasks that are not due are dropped outside
  // the lock, since destroying a task may post another.
  std::vector<PendingTask> dropped;
  for (;;) {
    PendingTask task;
    {
      std::lock_guard<std::mutex> lock(lock_);
      ReloadDueTasksLocked(now_());
      if (ready_tasks_.empty()) {
        accepting_tasks_ = false;
        dropped.swap(delayed_tasks_);
        break;
      }
      task = std::move(ready_tasks_.front());
      ready_tasks_.pop_front();
    }
    RunTask(&task);
  }
  dropped.clear();

  close(wakeup_fd_);
  g_current_loop = nullptr;
}

// static
MessageLoop* MessageLoop::current() {
  return g_current_loop;
}

bool MessageLoop::PostTask(const tracked_objects::Location& from_here, Task task) {
  bool wake_up = false;
  {
    std::lock_guard<std::mutex> lock(lock_);
    if (!accepting_tasks_)
      return false;
    ready_tasks_.push_back(
        PendingTask{from_here, std::move(task), Clock::time_point(), next_sequence_num_++});
    // A loop with queued tasks does not sleep, so only the first one needs to wake it.
    wake_up = ready_tasks_.size() == 1;
  }
  if (wake_up)
    WakeUp();
  return true;
}

bool MessageLoop::PostDelayedTask(const tracked_objects::Location& from_here,
                                  Task task,
                                  std::chrono::milliseconds delay) {
  if (delay <= std::chrono::milliseconds::zero())
    return PostTask(from_here, std::move(task));
  bool wake_up = false;
  {
    std::lock_guard<std::mutex> lock(lock_);
    if (!accepting_tasks_)
      return false;
    const uint64_t sequence_num = next_sequence_num_++;
    delayed_tasks_.push_back(PendingTask{from_here, std::move(task), now_() + delay, sequence_num});
    std::push_heap(delayed_tasks_.begin(), delayed_tasks_.end(), LaterTaskFirst());
    // The loop may sleep until a later deadline; a new earliest one must shorten that.
    wake_up = delayed_tasks_.front().sequence_num == sequence_num;
  }
  if (wake_up)
    WakeUp();
  return true;
}

void MessageLoop::Run() {
  RunInternal(false);
}

void MessageLoop::RunUntilIdle() {
  RunInternal(true);
}

void MessageLoop::Quit() {
  quit_requested_.store(true);
  WakeUp();
}

bool MessageLoop::WatchFileDescriptor(int fd,
                                      bool persistent,
                                      Mode mode,
                                      FileDescriptorWatcher* controller,
                                      Watcher* delegate) {
  CHECK(g_current_loop == this);
  if (destroying_ || fd < 0 || !delegate)
    return false;
  controller->StopWatchingFileDescriptor();
  controller->loop_ = this;
  controller->id_ = next_watch_id_++;
  controller->fd_ = fd;
  controller->mode_ = mode;
  controller->persistent_ = persistent;
  controller->delegate_ = delegate;
  watches_[controller->id_] = controller;
  return true;
}

bool MessageLoop::AddDestructionObserver(DestructionObserver* observer) {
  CHECK(g_current_loop == this);
  if (destroying_)
    return false;
  destruction_observers_.push_back(observer);
  return true;
}

void MessageLoop::RemoveDestructionObserver(DestructionObserver* observer) {
  CHECK(g_current_loop == this);
  destruction_observers_.erase(
      std::remove(destruction_observers_.begin(), destruction_observers_.end(), observer),
      destruction_observers_.end());
}

void MessageLoop::RunInternal(bool until_idle) {
  CHECK(g_current_loop == this);
  CHECK(!running_);
  running_ = true;
  for (;;) {
    if (quit_requested_.exchange(false))
      break;
    bool did_work = RunReadyTasks();
    if (quit_requested_.exchange(false))
      break;
    const int timeout_ms = until_idle ? 0 : ComputePollTimeout();
    did_work |= PollAndDispatch(timeout_ms);
    if (until_idle && !did_work && ComputePollTimeout() != 0)
      break;
  }
  running_ = false;
}

void MessageLoop::ReloadDueTasksLocked(Clock::time_point now) {
  while (!delayed_tasks_.empty() && delayed_tasks_.front().delayed_run_time <= now) {
    std::pop_heap(delayed_tasks_.begin(), delayed_tasks_.end(), LaterTaskFirst());
    ready_tasks_.push_back(std::move(delayed_tasks_.back()));
    delayed_tasks_.pop_back();
  }
}

bool MessageLoop::TakeReadyTask(PendingTask* task) {
  std::lock_guard<std::mutex> lock(lock_);
  if (ready_tasks_.empty())
    return false;
  *task = std::move(ready_tasks_.front());
  ready_tasks_.pop_front();
  return true;
}

bool MessageLoop::RunReadyTasks() {
  size_t count = 0;
  {
    std::lock_guard<std::mutex> lock(lock_);
    ReloadDueTasksLocked(now_());
    count = ready_tasks_.size();
  }
  // Tasks posted by these tasks wait for the next round, so that descriptors are not
  // starved by a task that keeps posting.
  bool ran = false;
  for (size_t i = 0; i < count; ++i) {
    PendingTask task;
    if (!TakeReadyTask(&task))
      break;
    RunTask(&task);
    ran = true;
    if (quit_requested_.load())
      break;
  }
  return ran;
}

int MessageLoop::ComputePollTimeout() {
  std::lock_guard<std::mutex> lock(lock_);
  if (!ready_tasks_.empty())
    return 0;
  if (delayed_tasks_.empty())
    return -1;
  const auto wait = delayed_tasks_.front().delayed_run_time - now_();
  if (wait <= Clock::duration::zero())
    return 0;
  // Rounded up: waking a little early would only spin until the task is due.
  const auto wait_ms = std::chrono::ceil<std::chrono::milliseconds>(wait).count();
  return wait_ms > INT_MAX ? INT_MAX : static_cast<int>(wait_ms);
}

bool MessageLoop::PollAndDispatch(int timeout_ms) {
  std::vector<pollfd> poll_fds;
  std::vector<uint64_t> ids;
  poll_fds.reserve(watches_.size() + 1);
  ids.reserve(watches_.size() + 1);
  poll_fds.push_back(pollfd{wakeup_fd_, POLLIN, 0});
  ids.push_back(0);
  for (const auto& entry : watches_) {
    const FileDescriptorWatcher* controller = entry.second;
    short events = 0;
    if (controller->mode_ & WATCH_READ)
      events |= POLLIN;
    if (controller->mode_ & WATCH_WRITE)
      events |= POLLOUT;
    poll_fds.push_back(pollfd{controller->fd_, events, 0});
    ids.push_back(entry.first);
  }

  const int ready = poll(poll_fds.data(), poll_fds.size(), timeout_ms);
  if (ready < 0) {
    if (errno != EINTR)
      LOG_AT(logging::LOG_ERROR) << "poll failed: " << std::strerror(errno);
    return false;
  }
  if (ready == 0)
    return false;

  if (poll_fds[0].revents)
    DrainWakeUp();
  bool dispatched = false;
  for (size_t i = 1; i < poll_fds.size(); ++i) {
    if (!poll_fds[i].revents)
      continue;
    // An earlier callback may have stopped or replaced this watch; DispatchReadiness
    // looks it up again.
    DispatchReadiness(ids[i], poll_fds[i].revents);
    dispatched = true;
  }
  return dispatched;
}

void MessageLoop::DispatchReadiness(uint64_t id, short revents) {
  auto it = watches_.find(id);
  if (it == watches_.end())
    return;
  FileDescriptorWatcher* controller = it->second;
  const int fd = controller->fd_;
  if (revents & POLLNVAL) {
    LOG_AT(logging::LOG_ERROR) << "watched descriptor " << fd << " is not open";
    RemoveWatch(controller);
    return;
  }
  const bool readable =
      (controller->mode_ & WATCH_READ) && (revents & (POLLIN | POLLHUP | POLLERR));
  const bool writable =
      (controller->mode_ & WATCH_WRITE) && (revents & (POLLOUT | POLLHUP | POLLERR));
  Watcher* delegate = controller->delegate_;
  const bool persistent = controller->persistent_;
  if (!persistent)
    RemoveWatch(controller);

  if (readable) {
    delegate->OnFileCanReadWithoutBlocking(fd);
    // A one-shot watch has had its callback; a persistent one may have been stopped by it.
    if (!persistent || watches_.find(id) == watches_.end())
      return;
  }
  if (writable)
    delegate->OnFileCanWriteWithoutBlocking(fd);
}

void MessageLoop::RemoveWatch(FileDescriptorWatcher* controller) {
  watches_.erase(controller->id_);
  controller->loop_ = nullptr;
  controller->id_ = 0;
}

void MessageLoop::WakeUp() {
  const uint64_t one = 1;
  // A full counter (EAGAIN) already means "wake up".
  while (write(wakeup_fd_, &one, sizeof(one)) < 0 && errno == EINTR) {
  }
}

void MessageLoop::DrainWakeUp() {
  uint64_t count = 0;
  while (read(wakeup_fd_, &count, sizeof(count)) < 0 && errno == EINTR) {
  }
}

// static
void MessageLoop::RunTask(PendingTask* task) {
  tracked_objects::ScopedProfile profile(task->posted_from);
  task->task();
  task->task = nullptr;
}

}  // namespace base
