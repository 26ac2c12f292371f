#include "base/logging.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace logging {

namespace internal {
std::atomic<int> g_min_log_level{LOG_INFO};
}  // namespace internal

namespace {

std::atomic<LogMessageHandlerFunction> g_log_message_handler{nullptr};

const char* const kSeverityNames[LOG_NUM_SEVERITIES] = {"INFO", "WARNING", "ERROR", "ERROR_REPORT",
                                                        "FATAL"};

const char* Basename(const char* path) {
  const char* slash = std::strrchr(path, '/');
  return slash ? slash + 1 : path;
}

void WriteToStderr(const std::string& str) {
  const char* data = str.data();
  size_t left = str.size();
  while (left > 0) {
    const ssize_t written = ::write(STDERR_FILENO, data, left);
    if (written <= 0)
      return;
    data += written;
    left -= static_cast<size_t>(written);
  }
}

}  // namespace

void SetMinLogLevel(int level) {
  internal::g_min_log_level.store(level, std::memory_order_relaxed);
}

const char* LogSeverityName(LogSeverity severity) {
  if (severity < 0)
    return "VERBOSE";
  if (severity >= LOG_NUM_SEVERITIES)
    return "UNKNOWN";
  return kSeverityNames[severity];
}

bool SeverityFromName(const std::string& name, LogSeverity* severity) {
  for (LogSeverity candidate = LOG_VERBOSE; candidate < LOG_NUM_SEVERITIES; ++candidate) {
    if (name == std::string("LOG_") + LogSeverityName(candidate)) {
      *severity = candidate;
      return true;
    }
  }
  return false;
}

void SetLogMessageHandler(LogMessageHandlerFunction handler) {
  g_log_message_handler.store(handler);
}

LogMessageHandlerFunction GetLogMessageHandler() {
  return g_log_message_handler.load();
}

LogMessage::LogMessage(const char* file, int line, LogSeverity severity)
    : severity_(severity), file_(file), line_(line) {
  Init(file, line);
}

LogMessage::LogMessage(const char* file, int line, std::string* result)
    : severity_(LOG_FATAL), file_(file), line_(line) {
  Init(file, line);
  stream_ << "Check failed: " << *result;
  delete result;
}

void LogMessage::Init(const char* file, int line) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  char header[64];
  std::snprintf(header, sizeof(header), "[%02d%02d/%02d%02d%02d.%03ld:%s:", local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                static_cast<long>(now.tv_nsec / 1000000), LogSeverityName(severity_));
  stream_ << header << Basename(file) << '(' << line << ")] ";
  message_start_ = static_cast<size_t>(stream_.tellp());
}

LogMessage::~LogMessage() {
  stream_ << '\n';
  const std::string str = stream_.str();
  LogMessageHandlerFunction handler = GetLogMessageHandler();
  if (handler && handler(severity_, file_, line_, message_start_, str))
    return;
  WriteToStderr(str);
}

void CheckFailure(const char* file, int line, const char* condition) {
  {
    LogMessage message(file, line, LOG_FATAL);
    message.stream() << "Check failed: " << condition;
  }
  std::abort();
}

}  // namespace logging
