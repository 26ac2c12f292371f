#include "base/threading/thread.h"

#include <pthread.h>

#include <atomic>
#include <string>
#include <thread>

#include "base/synchronization/waitable_event.h"
#include "gtest/gtest.h"

namespace base {
namespace {

TEST(ThreadTest, RunsTasksOnANamedThreadWithItsOwnLoop) {
  const struct {
    const char* name;
    const char* shown;
  } kCases[] = {
      {"tarn_io", "tarn_io"},
      {"a_name_longer_than_fifteen", "a_name_longer_t"},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    Thread thread(test_case.name);
    EXPECT_FALSE(thread.IsRunning());
    EXPECT_EQ(nullptr, thread.message_loop());
    ASSERT_TRUE(thread.Start());
    EXPECT_FALSE(thread.Start());
    EXPECT_TRUE(thread.IsRunning());
    EXPECT_EQ(test_case.name, thread.thread_name());

    char shown[32] = {};
    MessageLoop* loop_seen = nullptr;
    std::thread::id id_seen;
    ASSERT_TRUE(thread.PostTaskAndWait(FROM_HERE, [&] {
      pthread_getname_np(pthread_self(), shown, sizeof(shown));
      loop_seen = MessageLoop::current();
      id_seen = std::this_thread::get_id();
    }));
    EXPECT_STREQ(test_case.shown, shown);
    EXPECT_EQ(thread.message_loop(), loop_seen);
    EXPECT_NE(std::this_thread::get_id(), id_seen);
  }
}

TEST(ThreadTest, PostTaskAndWaitOnTheThreadItselfRunsInline) {
  Thread thread("inline");
  ASSERT_TRUE(thread.Start());
  std::string order;
  ASSERT_TRUE(thread.PostTaskAndWait(FROM_HERE, [&] {
    order += 'a';
    EXPECT_TRUE(thread.PostTaskAndWait(FROM_HERE, [&] { order += 'b'; }));
    order += 'c';
  }));
  EXPECT_EQ("abc", order);
}

TEST(ThreadTest, StopRunsTheTasksQueuedBeforeIt) {
  Thread thread("stopper");
  ASSERT_TRUE(thread.Start());
  WaitableEvent release(true, false);
  int count = 0;  // touched on the thread only until Stop() has joined it
  // The first task holds the thread so that the others are still queued when Stop() comes.
  thread.PostTask(FROM_HERE, [&release] { release.Wait(); });
  for (int i = 0; i < 100; ++i)
    thread.PostTask(FROM_HERE, [&count] { ++count; });
  release.Signal();
  thread.Stop();
  EXPECT_EQ(100, count);
  EXPECT_FALSE(thread.IsRunning());
  EXPECT_EQ(nullptr, thread.message_loop());
  EXPECT_FALSE(thread.PostTask(FROM_HERE, [&count] { ++count; }));
  EXPECT_FALSE(thread.PostTaskAndWait(FROM_HERE, [&count] { ++count; }));
  EXPECT_EQ(100, count);
  thread.Stop();  // a second Stop is harmless

  ASSERT_TRUE(thread.Start());
  EXPECT_TRUE(thread.PostTaskAndWait(FROM_HERE, [&count] { ++count; }));
  EXPECT_EQ(101, count);
}

TEST(ThreadTest, StopFromAnotherThreadWhileOthersPost) {
  auto thread = std::make_unique<Thread>("posted_to");
  ASSERT_TRUE(thread->Start());
  std::atomic<bool> done{false};
  std::atomic<int> accepted{0};
  std::atomic<int> ran{0};
  WaitableEvent busy(true, false);
  std::thread poster([&] {
    while (!done.load()) {
      const bool posted = thread->PostTask(FROM_HERE, [&] {
        if (++ran == 100)
          busy.Signal();
      });
      accepted += posted ? 1 : 0;
    }
  });
  busy.Wait();  // stopped while tasks keep coming
  std::thread([&thread] { thread->Stop(); }).join();
  done.store(true);
  poster.join();
  // Every task the thread accepted ran: none was lost in the shutdown.
  EXPECT_EQ(accepted.load(), ran.load());
  EXPECT_GT(ran.load(), 0);
}

}  // namespace
}  // namespace base
