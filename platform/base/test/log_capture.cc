#include "base/test/log_capture.h"

#include <atomic>
#include <cstdlib>

#include "base/logging.h"

namespace logging {

namespace {
std::atomic<ScopedLogCapture*> g_capture{nullptr};
}  // namespace

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
  std::lock_guard<std::mutex> lock(lock_);
  std::vector<std::string> result;
  for (const Line& line : lines_)
    result.push_back(line.message);
  return result;
}

int ScopedLogCapture::Count(const std::string& message) const {
  std::lock_guard<std::mutex> lock(lock_);
  int count = 0;
  for (const Line& line : lines_)
    count += line.message == message ? 1 : 0;
  return count;
}

bool ScopedLogCapture::Has(int severity, const std::string& message) const {
  std::lock_guard<std::mutex> lock(lock_);
  for (const Line& line : lines_) {
    if (line.severity == severity && line.message == message)
      return true;
  }
  return false;
}

void ScopedLogCapture::Clear() {
  std::lock_guard<std::mutex> lock(lock_);
  lines_.clear();
}

}  // namespace logging
