// A named thread that runs a MessageLoop.
//
//   base::Thread io_thread("tarn_io");
//   io_thread.Start();
//   io_thread.PostTask(FROM_HERE, [] { DoWork(); });
//   io_thread.Stop();
//
// Start(), Stop() and the destructor are called by one controlling thread, never by the
// thread itself. The other methods may be called from any thread.
//
// Stop() lets the loop run every task posted before Stop() was called, and also the tasks
// those post while the loop shuts down; delayed tasks that are not yet due are dropped.

#ifndef BASE_THREADING_THREAD_H_
#define BASE_THREADING_THREAD_H_

#include <mutex>
#include <string>
#include <thread>

#include "base/location.h"
#include "base/message_loop/message_loop.h"

namespace base {

class WaitableEvent;

class Thread {
 public:
  // |name| is what the system shows for the thread; it is cut to its first 15 characters
  // there.
  explicit Thread(const std::string& name);
  // Stops the thread.
  ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Starts the thread and returns once its loop exists. False when it runs already or
  // cannot be created.
  bool Start();

  // Ends the loop after the tasks queued so far, and waits for the thread to finish. Does
  // nothing when the thread is not running. The thread can be started again afterwards.
  void Stop();

  bool IsRunning() const;

  // The thread's loop while it runs, otherwise null. The loop dies with the thread: keep the
  // pointer only while the thread is known to be running.
  MessageLoop* message_loop() const;

  const std::string& thread_name() const { return name_; }

  // Posts |task| to the thread's loop. False when the thread is not running.
  bool PostTask(const tracked_objects::Location& from_here, MessageLoop::Task task);

  // Runs |task| on the thread and returns once it has run; on the thread itself it runs at
  // once. False, without running it, when the thread is not running.
  bool PostTaskAndWait(const tracked_objects::Location& from_here, MessageLoop::Task task);

 private:
  void ThreadMain(WaitableEvent* started);

  const std::string name_;
  std::thread thread_;  // used by the controlling thread only

  // Guards |message_loop_|, which the thread sets while its loop can take tasks.
  mutable std::mutex lock_;
  MessageLoop* message_loop_ = nullptr;  // owned by the thread's stack
};

}  // namespace base

#endif  // BASE_THREADING_THREAD_H_
