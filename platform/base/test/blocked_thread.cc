#include "base/test/blocked_thread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>
#include <thread>

namespace base {
namespace test {

pid_t CurrentThreadId() {
  return static_cast<pid_t>(syscall(SYS_gettid));
}

bool WaitUntilBlocked(pid_t tid, std::chrono::milliseconds timeout) {
  const std::string path = "/proc/self/task/" + std::to_string(tid) + "/stat";
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  while (std::chrono::steady_clock::now() < deadline) {
    std::ifstream file(path);
    const std::string stat((std::istreambuf_iterator<char>(file)),
                           std::istreambuf_iterator<char>());
    // "tid (name) S ...": the name may hold blanks and parentheses, the state follows the last ')'.
    const size_t name_end = stat.rfind(')');
    if (name_end == std::string::npos || name_end + 2 >= stat.size())
      return false;
    if (stat[name_end + 2] == 'S')
      return true;
    std::this_thread::yield();
  }
  return false;
}

}  // namespace test
}  // namespace base
