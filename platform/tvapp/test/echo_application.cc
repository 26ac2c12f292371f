#include "tvapp/test/echo_application.h"

namespace ORVELL0300 {

EchoApplication::EchoApplication() = default;

EchoApplication::~EchoApplication() = default;

bool EchoApplication::OnMessage(int message_type,
                                const CMessage& request,
                                Deadline /*deadline*/,
                                CMessage* reply) {
  bool flag = false;
  {
    std::unique_lock<std::mutex> lock(lock_);
    received_.push_back(request.GetName().text());
    if (request.Query(Utf8("hold"), flag) && flag) {
      released_changed_.wait(lock, [this] { return releases_ > 0; });
      --releases_;
    }
  }
  if (request.Query(Utf8("silent"), flag) && flag)
    return false;
  reply->MakeResult(Utf8("echo"), request.GetName());
  reply->MakeResult(Utf8("type"), static_cast<long>(message_type));
  return true;
}

bool EchoApplication::AnswersWithoutBlocking() const {
  ++asked_;
  return answers_without_blocking_;
}

void EchoApplication::Release(int count) {
  std::lock_guard<std::mutex> lock(lock_);
  releases_ += count;
  released_changed_.notify_all();
}

std::vector<std::string> EchoApplication::received() const {
  std::lock_guard<std::mutex> lock(lock_);
  return received_;
}

// static
CMessage EchoApplication::Request(const std::string& name, bool hold, bool silent) {
  CMessage request;
  request.SetName(Utf8(name));
  if (hold)
    request.MakeResult(Utf8("hold"), true);
  if (silent)
    request.MakeResult(Utf8("silent"), true);
  return request;
}

// static
std::string EchoApplication::EchoOf(const CMessage& reply) {
  OCString echo;
  return reply.Query(Utf8("echo"), echo) ? echo.text() : "<no echo>";
}

}  // namespace ORVELL0300
