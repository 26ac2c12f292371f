#include "base/message_loop/message_loop.h"

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/test/blocked_thread.h"
#include "base/test/deadlock_guard.h"
#include "gtest/gtest.h"

namespace base {
namespace {

// A non-blocking pipe and a watcher that records what it is told about one of its ends;
// an optional hook runs inside the read callback.
class WatchedPipe : public MessageLoop::Watcher {
 public:
  WatchedPipe() { EXPECT_EQ(0, pipe2(fds_, O_NONBLOCK | O_CLOEXEC)); }
  ~WatchedPipe() override {
    close(fds_[0]);
    close(fds_[1]);
  }

  // Watches the read end, or with |write_end| the write end, for |mode|.
  bool Watch(MessageLoop* loop, bool persistent, MessageLoop::Mode mode, bool write_end = false) {
    return loop->WatchFileDescriptor(fds_[write_end ? 1 : 0], persistent, mode, controller.get(),
                                     this);
  }
  void WriteByte(char c) { ASSERT_EQ(1, write(fds_[1], &c, 1)); }

  void OnFileCanReadWithoutBlocking(int fd) override {
    char buffer[64];
    const ssize_t n = read(fd, buffer, sizeof(buffer));
    if (n > 0)
      data.append(buffer, static_cast<size_t>(n));
    ++reads;
    if (on_read)
      on_read();
  }
  void OnFileCanWriteWithoutBlocking(int fd) override { ++writes; }

  std::unique_ptr<MessageLoop::FileDescriptorWatcher> controller =
      std::make_unique<MessageLoop::FileDescriptorWatcher>();
  std::string data;
  int reads = 0;
  int writes = 0;
  std::function<void()> on_read;

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
  const struct {
    int advance_ms;
    const char* order;
  } kSteps[] = {
      {0, "abc"},
      {9, "abc"},
      {1, "abcAB"},  // due together: in posting order
      {10, "abcABC"},
  };
  for (const auto& step : kSteps) {
    g_now += milliseconds(step.advance_ms);
    loop.RunUntilIdle();
    EXPECT_EQ(step.order, order) << "at +" << step.advance_ms << " ms";
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

TEST(MessageLoopTest, TasksPostedFromSeveralThreadsKeepEachPostersOrder) {
  MessageLoop loop;
  const int kPosters = 4;
  const int kTasksEach = 500;
  std::vector<std::vector<int>> seen(kPosters);
  int finished = 0;
  std::vector<std::thread> posters;
  for (int p = 0; p < kPosters; ++p) {
    posters.emplace_back([&, p] {
      for (int i = 0; i < kTasksEach; ++i)
        loop.PostTask(FROM_HERE, [&, p, i] { seen[p].push_back(i); });
      loop.PostTask(FROM_HERE, [&] {
        if (++finished == kPosters)
          loop.Quit();
      });
    });
  }
  loop.Run();
  for (auto& poster : posters)
    poster.join();
  for (int p = 0; p < kPosters; ++p) {
    ASSERT_EQ(static_cast<size_t>(kTasksEach), seen[p].size());
    for (int i = 0; i < kTasksEach; ++i)
      ASSERT_EQ(i, seen[p][i]);
  }
}

TEST(MessageLoopTest, PersistentReadWatchSeesEveryWrite) {
  MessageLoop loop;
  WatchedPipe pipe;
  ASSERT_TRUE(pipe.Watch(&loop, true, MessageLoop::WATCH_READ));
  // Each byte is written once the one before it has been read.
  pipe.on_read = [&] {
    if (pipe.data.size() == 3)
      loop.Quit();
    else
      pipe.WriteByte("xyz"[pipe.data.size()]);
  };
  pipe.WriteByte('x');
  loop.Run();
  EXPECT_EQ("xyz", pipe.data);
  EXPECT_EQ(3, pipe.reads);
  EXPECT_TRUE(pipe.controller->is_watching());
  EXPECT_EQ(0, pipe.writes);
}

TEST(MessageLoopTest, OneShotWatchEndsBeforeItsCallback) {
  MessageLoop loop;
  WatchedPipe pipe;
  ASSERT_TRUE(pipe.Watch(&loop, false, MessageLoop::WATCH_READ_WRITE, true));
  loop.RunUntilIdle();
  EXPECT_EQ(1, pipe.writes);
  EXPECT_EQ(0, pipe.reads);
  EXPECT_FALSE(pipe.controller->is_watching());
  loop.RunUntilIdle();
  EXPECT_EQ(1, pipe.writes);
}

TEST(MessageLoopTest, WatchStoppedByAnEarlierCallbackIsNotCalled) {
  MessageLoop loop;
  WatchedPipe first;
  WatchedPipe second;
  ASSERT_TRUE(first.Watch(&loop, true, MessageLoop::WATCH_READ));
  ASSERT_TRUE(second.Watch(&loop, true, MessageLoop::WATCH_READ));
  // Both are ready in the same poll; the first callback destroys the second's controller.
  first.WriteByte('1');
  second.WriteByte('2');
  first.on_read = [&] { second.controller.reset(); };
  loop.RunUntilIdle();
  EXPECT_EQ("1", first.data);
  EXPECT_EQ(0, second.reads);
}

TEST(MessageLoopTest, ControllerMayOutliveItsLoop) {
  WatchedPipe pipe;
  {
    MessageLoop loop;
    ASSERT_TRUE(pipe.Watch(&loop, true, MessageLoop::WATCH_READ));
  }
  EXPECT_FALSE(pipe.controller->is_watching());
  EXPECT_TRUE(pipe.controller->StopWatchingFileDescriptor());
}

class AppendingObserver : public MessageLoop::DestructionObserver {
 public:
  AppendingObserver(std::string* order, char mark) : order_(order), mark_(mark) {}
  void WillDestroyCurrentMessageLoop() override { *order_ += mark_; }

 private:
  std::string* order_;
  char mark_;
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
