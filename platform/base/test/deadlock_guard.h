// Test helper: runs code that used to deadlock, so that a deadlock fails the test program
// instead of hanging it.

#ifndef BASE_TEST_DEADLOCK_GUARD_H_
#define BASE_TEST_DEADLOCK_GUARD_H_

#include <chrono>
#include <functional>
#include <string>

namespace base {
namespace test {

// Runs |body| on a thread of its own and waits for it, at most |limit|. A body still
// running then is taken to be deadlocked: its threads can be neither joined nor stopped,
// so the process writes "deadlock: " and |what| to stderr and ends with exit code 1.
void RunOrExitOnDeadlock(const std::string& what,
                         std::chrono::seconds limit,
                         std::function<void()> body);

}  // namespace test
}  // namespace base

#endif  // BASE_TEST_DEADLOCK_GUARD_H_
