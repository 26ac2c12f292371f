#include "base/message_loop/message_loop.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "base/test/blocked_thread.h"
#include "base/test/deadlock_guard.h"
#include "gtest/gtest.h"

namespace base {
namespace {

// A pipe with a byte in it and a persistent watch of its read end; when told it can read,
// it reads and counts, and stops the watch of |stops| if one is given.
class ReadyPipe : public MessageLoop::Watcher {
 public:
  explicit ReadyPipe(MessageLoop* loop) {
    EXPECT_EQ(0, pipe2(fds_, O_CLOEXEC));
    EXPECT_EQ(1, write(fds_[1], "x", 1));
    EXPECT_TRUE(
        loop->WatchFileDescriptor(fds_[0], true, MessageLoop::WATCH_READ, controller.get(), this));
  }
  ~ReadyPipe() override {
    close(fds_[0]);
    close(fds_[1]);
  }
  void OnFileCanReadWithoutBlocking(int fd) override {
    char byte;
    EXPECT_EQ(1, read(fd, &byte, 1));
    ++reads;
    if (stops)
      stops->controller.reset();
  }
  void OnFileCanWriteWithoutBlocking(int) override {}

  std::unique_ptr<MessageLoop::FileDescriptorWatcher> controller =
      std::make_unique<MessageLoop::FileDescriptorWatcher>();
  int reads = 0;
  ReadyPipe* stops = nullptr;

 private:
  int fds_[2];
};

// The clock of the loop in TasksRunInPostingOrderAndDelayedOnesByDueTime, moved by hand.
std::chrono::steady_clock::time_point g_now;
std::chrono::steady_clock::time_point FakeNow() {
  return g_now;
}

TEST(MessageLoopTest, TasksRunInPostingOrderAndDelayedOnesByDueTime) {
  MessageLoop loop;
  g_now = std::chrono::steady_clock::time_point() + std::chrono::hours(1);
  loop.SetNowFunctionForTesting(&FakeNow);
  std::string order;
  auto append = [&order](char c) { return [&order, c] { order += c; }; };
  using std::chrono::milliseconds;
  loop.PostDelayedTask(FROM_HERE, append('C'), milliseconds(20));
  loop.PostDelayedTask(FROM_HERE, append('A'), milliseconds(10));
  loop.PostDelayedTask(FROM_HERE, append('B'), milliseconds(10));
  loop.PostTask(FROM_HERE, [&] {
    order += 'a';
    // Posted from a running task: runs after everything already queued.
    loop.PostTask(FROM_HERE, append('c'));
  });
  loop.PostTask(FROM_HERE, append('b'));
  // Milliseconds the clock moves on, and what has run then; A and B, due together, run in
  // posting order.
  const std::pair<int, const char*> kSteps[] = {{9, "abc"}, {1, "abcAB"}, {10, "abcABC"}};
  for (const auto& step : kSteps) {
    g_now += milliseconds(step.first);
    loop.RunUntilIdle();
    EXPECT_EQ(step.second, order) << "after +" << step.first << " ms";
  }
}

TEST(MessageLoopTest, QuitFromAnotherThreadWakesASleepingLoop) {
  test::RunOrExitOnDeadlock("a loop quit while it sleeps", std::chrono::seconds(10), [] {
    MessageLoop loop;
    const pid_t loop_thread = test::CurrentThreadId();
    std::atomic<bool> started{false};
    loop.PostTask(FROM_HERE, [&started] { started = true; });
    std::thread quitter([&] {
      while (!started)
        std::this_thread::yield();
      // With its one task done, the loop has nothing to do but wait in poll(2).
      EXPECT_TRUE(test::WaitUntilBlocked(loop_thread));
      loop.Quit();
    });
    loop.Run();
    quitter.join();
    // The request was consumed: the loop can run again.
    bool ran = false;
    loop.PostTask(FROM_HERE, [&] { ran = true, loop.Quit(); });
    loop.Run();
    EXPECT_TRUE(ran);
  });
}

TEST(MessageLoopTest, WatchStoppedByAnEarlierCallbackIsNotCalledAndControllersOutliveTheLoop) {
  auto loop = std::make_unique<MessageLoop>();
  // Both are ready in the same poll; the first callback destroys the second's controller.
  ReadyPipe first(loop.get());
  ReadyPipe second(loop.get());
  first.stops = &second;
  loop->RunUntilIdle();
  EXPECT_EQ(1, first.reads);
  EXPECT_EQ(0, second.reads);
  loop.reset();
  EXPECT_FALSE(first.controller->is_watching());
  EXPECT_TRUE(first.controller->StopWatchingFileDescriptor());
}

struct AppendingObserver : MessageLoop::DestructionObserver {
  AppendingObserver(std::string* o, char m) : order(o), mark(m) {}
  void WillDestroyCurrentMessageLoop() override { *order += mark; }
  std::string* order;
  char mark;
};

TEST(MessageLoopTest, DestructionTellsObserversThenRunsQueuedTasksAndDropsDelayedOnes) {
  std::string order;
  auto delayed_capture = std::make_shared<int>(0);
  std::weak_ptr<int> delayed_alive = delayed_capture;
  AppendingObserver told(&order, 'o');
  AppendingObserver removed(&order, 'r');
  {
    MessageLoop loop;
    EXPECT_TRUE(loop.AddDestructionObserver(&told));
    EXPECT_TRUE(loop.AddDestructionObserver(&removed));
    loop.RemoveDestructionObserver(&removed);
    loop.PostTask(FROM_HERE, [&] {
      order += 'a';
      EXPECT_TRUE(loop.PostTask(FROM_HERE, [&] { order += 'b'; }));
    });
    loop.PostDelayedTask(
        FROM_HERE, [&order, delayed_capture] { order += 'x'; }, std::chrono::hours(1));
    delayed_capture.reset();
  }
  EXPECT_EQ("oab", order);
  EXPECT_TRUE(delayed_alive.expired());
}

}  // namespace
}  // namespace base
