#include "base/test/deadlock_guard.h"

#include <unistd.h>

#include <cstdio>
#include <future>
#include <memory>
#include <thread>

namespace base {
namespace test {

void RunOrExitOnDeadlock(const std::string& what,
                         std::chrono::seconds limit,
                         std::function<void()> body) {
  auto done = std::make_shared<std::promise<void>>();
  std::future<void> finished = done->get_future();
  std::thread runner([done, body] {
    body();
    done->set_value();
  });
  if (finished.wait_for(limit) != std::future_status::ready) {
    std::fprintf(stderr, "deadlock: %s did not finish within %lld s\n", what.c_str(),
                 static_cast<long long>(limit.count()));
    std::fflush(stderr);
    _exit(1);
  }
  runner.join();
}

}  // namespace test
}  // namespace base
