#include "base/test/log_capture.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>

#include "base/logging.h"

namespace logging {

static std::atomic<ScopedLogCapture*> g_capture{nullptr};

ScopedLogCapture::ScopedLogCapture() : previous_handler_(GetLogMessageHandler()) {
  if (g_capture.exchange(this) != nullptr)
    std::abort();  // two captures at once would steal each other's lines
  SetLogMessageHandler(&ScopedLogCapture::Handle);
}

ScopedLogCapture::~ScopedLogCapture() {
  SetLogMessageHandler(previous_handler_);
  g_capture.store(nullptr);
}

// static
bool ScopedLogCapture::Handle(int severity,
                              const char* file,
                              int,
                              size_t message_start,
                              const std::string& str) {
  ScopedLogCapture* capture = g_capture.load();
  if (capture == nullptr)
    return false;
  std::string message = str.substr(message_start);
  if (!message.empty() && message.back() == '\n')
    message.pop_back();
  std::lock_guard<std::mutex> lock(capture->lock_);
  capture->lines_.push_back(Line{severity, file, message});
  return true;
}

std::vector<ScopedLogCapture::Line> ScopedLogCapture::lines() const {
  std::lock_guard<std::mutex> lock(lock_);
  return lines_;
}

std::vector<std::string> ScopedLogCapture::messages() const {
  std::vector<std::string> result;
  for (const Line& line : lines())
    result.push_back(line.message);
  return result;
}

int ScopedLogCapture::Count(const std::string& message) const {
  const std::vector<std::string> all = messages();
  return static_cast<int>(std::count(all.begin(), all.end(), message));
}

bool ScopedLogCapture::Has(int severity, const std::string& message) const {
  const std::vector<Line> all = lines();
  return std::any_of(all.begin(), all.end(), [&](const Line& line) {
    return line.severity == severity && line.message == message;
  });
}

void ScopedLogCapture::Clear() {
  std::lock_guard<std::mutex> lock(lock_);
  lines_.clear();
}

}  // namespace logging
