// Test helper: runs one of the project's programs as a child process, with its stdout on a
// pipe the test reads line by line. Under a cross build's emulator (the test environment's
// TARN_TEST_EMULATOR, the emulator command as blank-separated words) the program is started
// through the emulator, which passes exit codes and signals through.

#ifndef BASE_TEST_CHILD_PROCESS_H_
#define BASE_TEST_CHILD_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace base {
namespace test {

class ChildProcess {
 public:
  ChildProcess() = default;
  // Kills the child if it still runs.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts |program| with |arguments|. stdout goes to the pipe; stderr goes to
  // |stderr_path|, or is discarded when that is empty. False when it cannot start.
  bool Start(const std::string& program,
             const std::vector<std::string>& arguments,
             const std::string& stderr_path = std::string());

  pid_t pid() const { return pid_; }

  // The next line of stdout without its newline; false when none comes within |timeout|
  // or stdout ends first.
  bool ReadLine(std::chrono::milliseconds timeout, std::string* line);

  // Everything left on stdout until the child closes it (or |timeout| passes).
  std::string ReadRest(std::chrono::milliseconds timeout);

  bool Signal(int signal_number);

  // Waits for the child to end; its exit code, 128 + the signal that killed it, or -1
  // when it has not ended within |timeout|.
  int Wait(std::chrono::milliseconds timeout);

 private:
  // Appends what stdout has within |timeout|; false on its end or at the deadline.
  bool ReadMore(std::chrono::steady_clock::time_point deadline);

  pid_t pid_ = -1;
  int stdout_fd_ = -1;
  std::string buffered_;
};

}  // namespace test
}  // namespace base

#endif  // BASE_TEST_CHILD_PROCESS_H_
