// The first use of the plugin's manager from several threads at once. A program of its own:
// the race needs singletons that nothing has used yet.

#include <atomic>
#include <cstdio>
#include <cstdlib>

#include "base/synchronization/waitable_event.h"
#include "plugin/device/av_plugin/av_manager_impl.h"
#include "plugin/device/av_plugin/test/av_test.h"
#include "runtime/runtime.h"

namespace plugin {
namespace {

// Races the first uses of the manager; exits 0 when it wrote "Call Init()" once, and says
// on stderr how often it did. (That every thread gets the one instance is the platform
// Singleton's, tested with it.)
void FirstUseFromManyThreads() {
  logging::ScopedLogCapture capture;
  constexpr int kThreads = 8;
  // The manager's first registration, made while it is being built, waits until every
  // thread has asked for the manager.
  std::atomic<int> arriving{kThreads};
  base::WaitableEvent all_arrived(true, false);
  RecordingReflection reflection;
  reflection.before_parse = [&all_arrived] { all_arrived.Wait(); };
  runtime::Runtime::GetInstance()->SetReflectionForTesting(&reflection);
  RunTogether(kThreads, [&](int) {
    if (--arriving == 0)
      all_arrived.Signal();
    AvManagerImpl::GetInstance();
  });
  const int inits = capture.Count(" #av#Init#  Call Init()");
  std::fprintf(stderr, "Call Init() written %d times\n", inits);
  std::exit(inits == 1 ? 0 : 1);
}

// The race runs in a child forked for it, from a program that never uses the singletons
// itself. (The style that starts the program again cannot run under an emulator.)
TEST(AvConcurrencyDeathTest, FirstUseFromManyThreadsInitsOnce) {
  GTEST_FLAG_SET(death_test_style, "fast");
  EXPECT_EXIT(FirstUseFromManyThreads(), testing::ExitedWithCode(0),
              "Call Init\\(\\) written 1 times");
}

}  // namespace
}  // namespace plugin
