// Test helper: waits until another thread of this process is blocked in the kernel, so that
// a test can act while that thread waits where the test expects it to (in poll(2), on a
// lock or a condition variable).
//
// It makes a race real, it never decides a result: a thread seen blocked for another reason
// only makes the test act early and exercise less.

#ifndef BASE_TEST_BLOCKED_THREAD_H_
#define BASE_TEST_BLOCKED_THREAD_H_

#include <sys/types.h>

#include <chrono>

namespace base {
namespace test {

// The kernel's id of the calling thread.
pid_t CurrentThreadId();

// Waits until the thread |tid| of this process sleeps (state S); false when it has ended or
// |timeout| passes first.
bool WaitUntilBlocked(pid_t tid, std::chrono::milliseconds timeout = std::chrono::seconds(10));

}  // namespace test
}  // namespace base

#endif  // BASE_TEST_BLOCKED_THREAD_H_
