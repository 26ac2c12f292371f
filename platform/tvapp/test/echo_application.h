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
  EchoApplication();
  ~EchoApplication() override;

  bool OnMessage(int message_type,
                 const CMessage& request,
                 Deadline deadline,
                 CMessage* reply) override;
  bool AnswersWithoutBlocking() const override;

  void SetAnswersWithoutBlocking(bool answers) { answers_without_blocking_ = answers; }
  // Lets |count| held requests, now or later, be answered, one for each.
  void Release(int count = 1);

  // The names of the requests received so far, in order of arrival.
  std::vector<std::string> received() const;
  // How often a sender has asked AnswersWithoutBlocking(): once for each request it hands
  // over.
  int asked() const { return asked_; }

  // A request named |name| with the optional hold and silence entries.
  static CMessage Request(const std::string& name, bool hold = false, bool silent = false);
  // The "echo" of |reply|, or "<no echo>".
  static std::string EchoOf(const CMessage& reply);

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
