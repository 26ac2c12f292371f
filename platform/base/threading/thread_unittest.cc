#include "base/threading/thread.h"

#include <pthread.h>

#include <atomic>
#include <string>
#include <thread>

#include "base/synchronization/waitable_event.h"
#include "gtest/gtest.h"

namespace base {
namespace {

TEST(ThreadTest, RunsTasksOnANamedThreadWithItsOwnLoopAndInlineWhenAskedFromIt) {
  Thread thread("a_name_longer_than_fifteen");
  ASSERT_TRUE(thread.Start());
  EXPECT_FALSE(thread.Start());
  EXPECT_EQ("a_name_longer_than_fifteen", thread.thread_name());
  const std::thread::id test_thread = std::this_thread::get_id();
  char shown[32] = {};
  std::string order;
  ASSERT_TRUE(thread.PostTaskAndWait(FROM_HERE, [&] {
    pthread_getname_np(pthread_self(), shown, sizeof(shown));
    EXPECT_EQ(thread.message_loop(), MessageLoop::current());
    EXPECT_NE(test_thread, std::this_thread::get_id());
    order += 'a';
    // PostTaskAndWait on the thread itself runs the task inline.
    EXPECT_TRUE(thread.PostTaskAndWait(FROM_HERE, [&] { order += 'b'; }));
    order += 'c';
  }));
  EXPECT_STREQ("a_name_longer_t", shown);  // the kernel keeps 15 bytes
  EXPECT_EQ("abc", order);
}

TEST(ThreadTest, StopFromAnotherThreadWhileOthersPostLosesNoAcceptedTask) {
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
  // Every task the thread accepted ran, the queued ones too: none was lost in the shutdown.
  EXPECT_EQ(accepted.load(), ran.load());
  EXPECT_FALSE(thread->IsRunning());
  EXPECT_FALSE(thread->PostTask(FROM_HERE, [] {}));
  thread->Stop();  // a second Stop is harmless
}

}  // namespace
}  // namespace base
