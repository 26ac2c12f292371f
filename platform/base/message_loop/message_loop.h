// A thread's event loop: it runs the tasks posted to it, in the order they were posted, and
// tells watchers when their file descriptors can be read or written without blocking.
//
//   base::MessageLoop loop;                        // binds itself to this thread
//   loop.PostTask(FROM_HERE, [&loop] { loop.Quit(); });
//   loop.Run();
//
// A loop belongs to the thread that constructs it (MessageLoop::current() on that thread),
// and Run(), the watch operations and the destructor are called on that thread. PostTask(),
// PostDelayedTask() and Quit() may be called from any thread while the loop exists.
//
// The loop waits in poll(2); another thread wakes it through an eventfd.
//
// Destruction first tells the destruction observers, then runs every task still queued,
// including the ones those tasks post, so that a thread that posted work and waits for it is
// never left waiting; delayed tasks that are not yet due are dropped without running. After
// that, PostTask() returns false.

#ifndef BASE_MESSAGE_LOOP_MESSAGE_LOOP_H_
#define BASE_MESSAGE_LOOP_MESSAGE_LOOP_H_

#include <atomic>
#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <vector>

#include "base/location.h"

namespace base {

class MessageLoop {
 public:
  typedef std::function<void()> Task;

  enum Mode {
    WATCH_READ = 1 << 0,
    WATCH_WRITE = 1 << 1,
    WATCH_READ_WRITE = WATCH_READ | WATCH_WRITE
  };

  // Told, on the loop's thread, that a watched descriptor is ready. A hang-up or an error
  // on the descriptor counts as ready for the watched directions, so that the next read or
  // write reports it.
  class Watcher {
   public:
    virtual void OnFileCanReadWithoutBlocking(int fd) = 0;
    virtual void OnFileCanWriteWithoutBlocking(int fd) = 0;

   protected:
    virtual ~Watcher();
  };

  // Told, on the loop's thread, that the loop is being destroyed: before its last tasks run
  // and before its watches end.
  class DestructionObserver {
   public:
    virtual void WillDestroyCurrentMessageLoop() = 0;

   protected:
    virtual ~DestructionObserver();
  };

  // The handle of one watch. Destroying it stops the watch. Used on the loop's thread only.
  class FileDescriptorWatcher {
   public:
    FileDescriptorWatcher();
    ~FileDescriptorWatcher();
    FileDescriptorWatcher(const FileDescriptorWatcher&) = delete;
    FileDescriptorWatcher& operator=(const FileDescriptorWatcher&) = delete;

    // Stops the watch: no callback for it runs after this returns, even one whose readiness
    // the loop has already seen. True also when nothing was watched.
    bool StopWatchingFileDescriptor();

    bool is_watching() const { return loop_ != nullptr; }

   private:
    friend class MessageLoop;

    MessageLoop* loop_ = nullptr;  // not owned; null while nothing is watched
    uint64_t id_ = 0;
    int fd_ = -1;
    int mode_ = 0;
    bool persistent_ = false;
    Watcher* delegate_ = nullptr;  // not owned
  };

  MessageLoop();
  ~MessageLoop();
  MessageLoop(const MessageLoop&) = delete;
  MessageLoop& operator=(const MessageLoop&) = delete;

  // The loop of the calling thread, or null.
  static MessageLoop* current();

  // Queues |task| to run on the loop's thread after the tasks posted before it. False when
  // the loop is being destroyed and runs nothing more; |task| is then dropped.
  bool PostTask(const tracked_objects::Location& from_here, Task task);

  // Queues |task| to run once |delay| has passed. Tasks that fall due at the same time run
  // in the order they were posted.
  bool PostDelayedTask(const tracked_objects::Location& from_here,
                       Task task,
                       std::chrono::milliseconds delay);

  // Where the loop reads the time that delayed tasks fall due by.
  typedef std::chrono::steady_clock::time_point (*NowFunction)();

  // Makes the loop read the time from |now| instead of the steady clock, so that a test can
  // move time by hand. Call before any task is posted.
  void SetNowFunctionForTesting(NowFunction now) { now_ = now; }

  // Runs tasks and watches until Quit(). Not re-entrant.
  void Run();

  // Runs what is ready now (tasks and ready descriptors) until nothing is, then returns.
  void RunUntilIdle();

  // Makes the running Run() return once the task or callback in progress has finished; a
  // Quit() while nothing runs makes the next Run() return at once. Any thread.
  void Quit();

  // Starts watching |fd| in |mode| for |delegate| (not owned), through |controller| (not
  // owned; it must outlive the watch). A watch that is not |persistent| ends before its first
  // callback. Using a controller that already watches replaces its watch. On the loop's thread
  // only; false while the loop is being destroyed.
  bool WatchFileDescriptor(int fd,
                           bool persistent,
                           Mode mode,
                           FileDescriptorWatcher* controller,
                           Watcher* delegate);

  // |observer| (not owned) is told once when the loop is destroyed, unless removed before.
  // On the loop's thread only; false while the loop is being destroyed.
  bool AddDestructionObserver(DestructionObserver* observer);
  void RemoveDestructionObserver(DestructionObserver* observer);

 private:
  typedef std::chrono::steady_clock Clock;

  struct PendingTask {
    tracked_objects::Location posted_from;
    Task task;
    Clock::time_point delayed_run_time;  // the epoch for an immediate task
    uint64_t sequence_num;
  };

  // Orders the delayed-task heap so that its front is the earliest, first-posted task.
  struct LaterTaskFirst {
    bool operator()(const PendingTask& a, const PendingTask& b) const;
  };

  void RunInternal(bool until_idle);
  // Moves the delayed tasks that are due to the back of the ready queue; |lock_| is held.
  void ReloadDueTasksLocked(Clock::time_point now);
  // Takes the next ready task, if any.
  bool TakeReadyTask(PendingTask* task);
  // Runs up to the number of tasks that were ready on entry; true when it ran one.
  bool RunReadyTasks();
  // The poll(2) timeout in milliseconds: 0 with ready tasks, -1 with nothing pending.
  int ComputePollTimeout();
  // Waits up to |timeout_ms| and calls the watchers whose descriptors are ready; true when it
  // called one.
  bool PollAndDispatch(int timeout_ms);
  void DispatchReadiness(uint64_t id, short revents);
  void RemoveWatch(FileDescriptorWatcher* controller);
  void WakeUp();
  void DrainWakeUp();
  static void RunTask(PendingTask* task);

  const int wakeup_fd_;
  NowFunction now_ = &Clock::now;

  // Guards the task queues and |accepting_tasks_|.
  std::mutex lock_;
  std::deque<PendingTask> ready_tasks_;
  std::vector<PendingTask> delayed_tasks_;  // a heap ordered by LaterTaskFirst
  uint64_t next_sequence_num_ = 0;
  bool accepting_tasks_ = true;

  std::atomic<bool> quit_requested_{false};

  // Used on the loop's thread only.
  bool running_ = false;
  bool destroying_ = false;
  uint64_t next_watch_id_ = 1;
  std::map<uint64_t, FileDescriptorWatcher*> watches_;
  std::vector<DestructionObserver*> destruction_observers_;
};

}  // namespace base

#endif  // BASE_MESSAGE_LOOP_MESSAGE_LOOP_H_
