#include "tvapp/test/echo_application.h"

#include <chrono>
#include <thread>

namespace ORVELL0300 {

namespace {

OCString Utf8(const char* text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}

}  // namespace

EchoApplication::EchoApplication() = default;

EchoApplication::~EchoApplication() = default;

bool EchoApplication::OnMessage(int message_type,
                                const CMessage& request,
                                Deadline /*deadline*/,
                                CMessage* reply) {
  {
    std::lock_guard<std::mutex> lock(lock_);
    received_.push_back(request.GetName().text());
  }
  long delay_ms = 0;
  if (request.Query(Utf8("delay_ms"), delay_ms))
    std::this_thread::sleep_for(std::chrono::milliseconds(delay_ms));
  bool silent = false;
  if (request.Query(Utf8("silent"), silent) && silent)
    return false;
  reply->MakeResult(Utf8("echo"), request.GetName());
  reply->MakeResult(Utf8("type"), static_cast<long>(message_type));
  return true;
}

bool EchoApplication::AnswersWithoutBlocking() const {
  return answers_without_blocking_;
}

std::vector<std::string> EchoApplication::received() const {
  std::lock_guard<std::mutex> lock(lock_);
  return received_;
}

// static
CMessage EchoApplication::Request(const std::string& name, long delay_ms, bool silent) {
  CMessage request;
  request.SetName(OCString(name, OCString::kTextEncodingUtf8));
  if (delay_ms > 0)
    request.MakeResult(Utf8("delay_ms"), delay_ms);
  if (silent)
    request.MakeResult(Utf8("silent"), true);
  return request;
}

}  // namespace ORVELL0300
