// Test helper: an application instance that answers every message with its name and type.
//
// The reply holds "echo" (OCString, the request's name) and "type" (long, the message
// type). A request entry "hold" = true makes it wait for a Release() before answering, and
// "silent" = true makes it send no reply at all. It claims to answer without blocking only
// when told to.

#ifndef TVAPP_TEST_ECHO_APPLICATION_H_
#define TVAPP_TEST_ECHO_APPLICATION_H_

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include "tvapp/message_handler.h"

namespace ORVELL0300 {

inline OCString Utf8(const std::string& text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}

class EchoApplication : public CMessageHandler {
 public:
  bool OnMessage(int message_type, const CMessage& request, Deadline, CMessage* reply) override {
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
  // Counts the calls: a sender asks once for each request it hands over.
  bool AnswersWithoutBlocking() const override {
    ++asked_;
    return answers_without_blocking_;
  }

  void SetAnswersWithoutBlocking(bool answers) { answers_without_blocking_ = answers; }
  // Lets |count| held requests, now or later, be answered, one for each.
  void Release(int count = 1) {
    std::lock_guard<std::mutex> lock(lock_);
    releases_ += count;
    released_changed_.notify_all();
  }

  // The names of the requests received so far, in order of arrival.
  std::vector<std::string> received() const {
    std::lock_guard<std::mutex> lock(lock_);
    return received_;
  }
  int asked() const { return asked_; }

  // A request named |name| with the optional hold and silence entries.
  static CMessage Request(const std::string& name, bool hold = false, bool silent = false) {
    CMessage request;
    request.SetName(Utf8(name));
    if (hold)
      request.MakeResult(Utf8("hold"), true);
    if (silent)
      request.MakeResult(Utf8("silent"), true);
    return request;
  }
  // The "echo" of |reply|, or "<no echo>".
  static std::string EchoOf(const CMessage& reply) {
    OCString echo;
    return reply.Query(Utf8("echo"), echo) ? echo.text() : "<no echo>";
  }

 private:
  mutable std::mutex lock_;
  std::condition_variable released_changed_;
  int releases_ = 0;
  std::vector<std::string> received_;
  std::atomic<bool> answers_without_blocking_{false};
  mutable std::atomic<int> asked_{0};
};

}  // namespace ORVELL0300

#endif  // TVAPP_TEST_ECHO_APPLICATION_H_
