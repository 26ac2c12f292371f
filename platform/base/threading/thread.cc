#include "base/threading/thread.h"

#include <pthread.h>

#include <system_error>
#include <utility>

#include "base/logging.h"
#include "base/synchronization/waitable_event.h"

namespace base {

namespace {

// The longest name pthread_setname_np accepts, without its terminating zero.
const size_t kMaxThreadNameLength = 15;

}  // namespace

Thread::Thread(const std::string& name) : name_(name) {}

Thread::~Thread() {
  Stop();
}

bool Thread::Start() {
  if (thread_.joinable())
    return false;
  WaitableEvent started(true, false);
  try {
    thread_ = std::thread(&Thread::ThreadMain, this, &started);
  } catch (const std::system_error& error) {
    LOG_AT(logging::LOG_ERROR) << "cannot start thread " << name_ << ": " << error.what();
    return false;
  }
  started.Wait();
  return true;
}

void Thread::Stop() {
  if (!thread_.joinable())
    return;
  CHECK(thread_.get_id() != std::this_thread::get_id());
  {
    std::lock_guard<std::mutex> lock(lock_);
    MessageLoop* loop = message_loop_;
    if (loop)
      loop->PostTask(FROM_HERE, [loop] { loop->Quit(); });
  }
  thread_.join();
  thread_ = std::thread();
}

bool Thread::IsRunning() const {
  std::lock_guard<std::mutex> lock(lock_);
  return message_loop_ != nullptr;
}

MessageLoop* Thread::message_loop() const {
  std::lock_guard<std::mutex> lock(lock_);
  return message_loop_;
}

bool Thread::PostTask(const tracked_objects::Location& from_here, MessageLoop::Task task) {
  // The lock keeps the loop alive while the task goes in.
  std::lock_guard<std::mutex> lock(lock_);
  if (!message_loop_)
    return false;
  return message_loop_->PostTask(from_here, std::move(task));
}

bool Thread::PostTaskAndWait(const tracked_objects::Location& from_here, MessageLoop::Task task) {
  MessageLoop* loop = message_loop();
  if (loop && loop == MessageLoop::current()) {
    task();
    return true;
  }
  WaitableEvent done(true, false);
  if (!PostTask(from_here, [&task, &done] {
        task();
        done.Signal();
      })) {
    return false;
  }
  done.Wait();
  return true;
}

void Thread::ThreadMain(WaitableEvent* started) {
  pthread_setname_np(pthread_self(), name_.substr(0, kMaxThreadNameLength).c_str());
  MessageLoop loop;
  {
    std::lock_guard<std::mutex> lock(lock_);
    message_loop_ = &loop;
  }
  started->Signal();
  loop.Run();
  {
    std::lock_guard<std::mutex> lock(lock_);
    message_loop_ = nullptr;
  }
  // |loop|'s destructor runs what is still queued.
}

}  // namespace base
