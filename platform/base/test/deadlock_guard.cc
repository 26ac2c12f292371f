#include "base/test/deadlock_guard.h"

#include <unistd.h>

#include <cstdio>
#include <future>

namespace base {
namespace test {

void RunOrExitOnDeadlock(const std::string& what,
                         std::chrono::seconds limit,
                         std::function<void()> body) {
  std::future<void> finished = std::async(std::launch::async, std::move(body));
  if (finished.wait_for(limit) == std::future_status::ready)
    return finished.get();
  // The future's destructor would wait for the body forever.
  std::fprintf(stderr, "deadlock: %s did not finish within %lld s\n", what.c_str(),
               static_cast<long long>(limit.count()));
  std::fflush(stderr);
  _exit(1);
}

}  // namespace test
}  // namespace base
