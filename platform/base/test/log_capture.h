// Test helper: takes every log line written while it lives, so tests can look at them.

#ifndef BASE_TEST_LOG_CAPTURE_H_
#define BASE_TEST_LOG_CAPTURE_H_

#include <mutex>
#include <string>
#include <vector>

namespace logging {

class ScopedLogCapture {
 public:
  struct Line {
    int severity;
    std::string file;     // the writing source file, as the compiler named it
    std::string message;  // exactly as streamed, without the header and final newline
  };

  // Only one capture may be alive at a time; it restores the previous handler on exit.
  ScopedLogCapture();
  ~ScopedLogCapture();
  ScopedLogCapture(const ScopedLogCapture&) = delete;
  ScopedLogCapture& operator=(const ScopedLogCapture&) = delete;

  std::vector<Line> lines() const;
  std::vector<std::string> messages() const;
  // The number of captured lines whose message is exactly |message|.
  int Count(const std::string& message) const;
  // Whether a line with exactly |message| was written at |severity|.
  bool Has(int severity, const std::string& message) const;
  void Clear();

 private:
  static bool Handle(int severity,
                     const char* file,
                     int line,
                     size_t message_start,
                     const std::string& str);

  mutable std::mutex lock_;
  std::vector<Line> lines_;
  bool (*previous_handler_)(int, const char*, int, size_t, const std::string&);
};

}  // namespace logging

#endif  // BASE_TEST_LOG_CAPTURE_H_
