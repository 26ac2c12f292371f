#include "base/message_loop/message_loop.h"

#include <fcntl.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "gtest/gtest.h"

namespace base {
namespace {

// Both ends of a non-blocking pipe, closed on destruction.
class Pipe {
 public:
  Pipe() {
    int fds[2];
    EXPECT_EQ(0, pipe2(fds, O_NONBLOCK | O_CLOEXEC));
    read_fd_ = fds[0];
    write_fd_ = fds[1];
  }
  ~Pipe() {
    close(read_fd_);
    close(write_fd_);
  }
  int read_fd() const { return read_fd_; }
  int write_fd() const { return write_fd_; }
  void WriteByte(char c) { ASSERT_EQ(1, write(write_fd_, &c, 1)); }

 private:
  int read_fd_;
  int write_fd_;
};

// Records what it was told; an optional hook runs inside the read callback.
class RecordingWatcher : public MessageLoop::Watcher {
 public:
  void OnFileCanReadWithoutBlocking(int fd) override {
    char buffer[64];
    const ssize_t n = read(fd, buffer, sizeof(buffer));
    if (n > 0)
      data_.append(buffer, static_cast<size_t>(n));
    ++reads_;
    if (on_read_)
      on_read_();
  }
  void OnFileCanWriteWithoutBlocking(int fd) override { ++writes_; }

  std::string data_;
  int reads_ = 0;
  int writes_ = 0;
  std::function<void()> on_read_;
};

TEST(MessageLoopTest, TasksRunInPostingOrderAndDelayedOnesByDueTime) {
  MessageLoop loop;
  std::string order;
  using std::chrono::milliseconds;
  loop.PostDelayedTask(
      FROM_HERE,
      [&] {
        order += 'D';
        loop.Quit();
      },
      milliseconds(40));
  loop.PostDelayedTask(
      FROM_HERE, [&] { order += 'B'; }, milliseconds(10));
  loop.PostTask(FROM_HERE, [&] {
    order += 'a';
    // Posted from a running task: runs after everything already queued.
    loop.PostTask(FROM_HERE, [&] { order += 'c'; });
  });
  loop.PostDelayedTask(
      FROM_HERE, [&] { order += 'C'; }, milliseconds(10));
  loop.PostTask(FROM_HERE, [&] { order += 'b'; });
  loop.Run();
  EXPECT_EQ("abcBCD", order);
}

TEST(MessageLoopTest, QuitFromAnotherThreadWakesASleepingLoop) {
  MessageLoop loop;
  std::thread quitter([&loop] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    loop.Quit();
  });
  loop.Run();  // sleeps in poll() with nothing to do until the other thread quits it
  quitter.join();
  // The request was consumed: the loop can run again.
  bool ran = false;
  loop.PostTask(FROM_HERE, [&] {
    ran = true;
    loop.Quit();
  });
  loop.Run();
  EXPECT_TRUE(ran);
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
  Pipe pipe;
  RecordingWatcher watcher;
  MessageLoop::FileDescriptorWatcher controller;
  ASSERT_TRUE(loop.WatchFileDescriptor(pipe.read_fd(), true, MessageLoop::WATCH_READ, &controller,
                                       &watcher));
  watcher.on_read_ = [&] {
    if (watcher.data_.size() == 3)
      loop.Quit();
  };
  std::thread writer([&pipe] {
    for (char c : std::string("xyz")) {
      pipe.WriteByte(c);
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  });
  loop.Run();
  writer.join();
  EXPECT_EQ("xyz", watcher.data_);
  EXPECT_TRUE(controller.is_watching());
  EXPECT_EQ(0, watcher.writes_);
}

TEST(MessageLoopTest, OneShotWatchEndsBeforeItsCallback) {
  MessageLoop loop;
  Pipe pipe;
  RecordingWatcher watcher;
  MessageLoop::FileDescriptorWatcher controller;
  ASSERT_TRUE(loop.WatchFileDescriptor(pipe.write_fd(), false, MessageLoop::WATCH_READ_WRITE,
                                       &controller, &watcher));
  loop.RunUntilIdle();
  EXPECT_EQ(1, watcher.writes_);
  EXPECT_EQ(0, watcher.reads_);
  EXPECT_FALSE(controller.is_watching());
  loop.RunUntilIdle();
  EXPECT_EQ(1, watcher.writes_);
}

TEST(MessageLoopTest, WatchStoppedByAnEarlierCallbackIsNotCalled) {
  MessageLoop loop;
  Pipe first_pipe;
  Pipe second_pipe;
  RecordingWatcher first;
  RecordingWatcher second;
  MessageLoop::FileDescriptorWatcher first_controller;
  auto second_controller = std::make_unique<MessageLoop::FileDescriptorWatcher>();
  ASSERT_TRUE(loop.WatchFileDescriptor(first_pipe.read_fd(), true, MessageLoop::WATCH_READ,
                                       &first_controller, &first));
  ASSERT_TRUE(loop.WatchFileDescriptor(second_pipe.read_fd(), true, MessageLoop::WATCH_READ,
                                       second_controller.get(), &second));
  // Both are ready in the same poll; the first callback destroys the second's controller.
  first_pipe.WriteByte('1');
  second_pipe.WriteByte('2');
  first.on_read_ = [&] { second_controller.reset(); };
  loop.RunUntilIdle();
  EXPECT_EQ("1", first.data_);
  EXPECT_EQ(0, second.reads_);
}

TEST(MessageLoopTest, ControllerMayOutliveItsLoop) {
  Pipe pipe;
  RecordingWatcher watcher;
  MessageLoop::FileDescriptorWatcher controller;
  {
    MessageLoop loop;
    ASSERT_TRUE(loop.WatchFileDescriptor(pipe.read_fd(), true, MessageLoop::WATCH_READ, &controller,
                                         &watcher));
  }
  EXPECT_FALSE(controller.is_watching());
  EXPECT_TRUE(controller.StopWatchingFileDescriptor());
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
