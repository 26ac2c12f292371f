// The platform's logging: one line per message, written to stderr (or to a handler that
// takes it) as "[MMDD/HHMMSS.mmm:SEVERITY:file.cc(line)] message".
//
//   LOG_AT(logging::LOG_ERROR) << "could not open " << path;
//
// writes only when the platform's minimum level lets the severity through; a line that is
// gated off evaluates none of its operands.

#ifndef BASE_LOGGING_H_
#define BASE_LOGGING_H_

#include <atomic>
#include <cstddef>
#include <sstream>
#include <string>

namespace logging {

typedef int LogSeverity;
const LogSeverity LOG_VERBOSE = -1;
const LogSeverity LOG_INFO = 0;
const LogSeverity LOG_WARNING = 1;
const LogSeverity LOG_ERROR = 2;
const LogSeverity LOG_ERROR_REPORT = 3;
const LogSeverity LOG_FATAL = 4;
const LogSeverity LOG_NUM_SEVERITIES = 5;

namespace internal {
extern std::atomic<int> g_min_log_level;
}  // namespace internal

// The minimum severity that is written. Reading it is one load, so that a gated-off line
// costs no more than the comparison.
inline int GetMinLogLevel() {
  return internal::g_min_log_level.load(std::memory_order_relaxed);
}
void SetMinLogLevel(int level);

// The severity's name as it appears in a line: "INFO", "ERROR", ...
const char* LogSeverityName(LogSeverity severity);

// The severity a configuration names by its constant, "LOG_VERBOSE" to "LOG_FATAL": "LOG_"
// and its LogSeverityName, exactly. False for any other name, leaving |*severity| alone.
bool SeverityFromName(const std::string& name, LogSeverity* severity);

// A handler sees every written line: |str| is the whole line with its header and final
// newline, and the message starts at |message_start|. Returning true takes the line, so
// it is not written to stderr. The handler may be called from any thread.
typedef bool (*LogMessageHandlerFunction)(int severity,
                                          const char* file,
                                          int line,
                                          size_t message_start,
                                          const std::string& str);
void SetLogMessageHandler(LogMessageHandlerFunction handler);
LogMessageHandlerFunction GetLogMessageHandler();

// A line under construction; it is written when the object is destroyed. A LOG_FATAL line
// is written like any other and does not end the process.
class LogMessage {
 public:
  LogMessage(const char* file, int line, LogSeverity severity);
  // A failed check: writes "Check failed: " followed by |*result| at LOG_FATAL. Takes
  // ownership of |result|.
  LogMessage(const char* file, int line, std::string* result);
  ~LogMessage();
  LogMessage(const LogMessage&) = delete;
  LogMessage& operator=(const LogMessage&) = delete;

  std::ostream& stream() { return stream_; }

 private:
  void Init(const char* file, int line);

  LogSeverity severity_;
  std::ostringstream stream_;
  size_t message_start_ = 0;
  const char* file_;
  int line_;
};

// Lets the log macros discard the stream in the ?: expression.
class LogMessageVoidify {
 public:
  void operator&(std::ostream&) {}
};

// "names (v1 vs. v2)", the text of a failed comparison check. The caller owns the result.
template <typename T1, typename T2>
std::string* MakeCheckOpString(const T1& v1, const T2& v2, const char* names) {
  std::ostringstream ss;
  ss << names << " (" << v1 << " vs. " << v2 << ")";
  return new std::string(ss.str());
}

// Writes "Check failed: |condition|" at LOG_FATAL and stops the process. Only for
// programming errors that the process must not survive.
[[noreturn]] void CheckFailure(const char* file, int line, const char* condition);

}  // namespace logging

#define LOG_AT(severity)                       \
  !(::logging::GetMinLogLevel() <= (severity)) \
      ? (void)0                                \
      : ::logging::LogMessageVoidify() &       \
            ::logging::LogMessage(__FILE__, __LINE__, (severity)).stream()

#define CHECK(condition) \
  ((condition) ? (void)0 : ::logging::CheckFailure(__FILE__, __LINE__, #condition))

#endif  // BASE_LOGGING_H_
