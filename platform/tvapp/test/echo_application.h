// Test helper: an application instance that answers every message with its name and type.
//
// The reply holds "echo" (OCString, the request's name) and "type" (long, the message
// type). A request entry "delay_ms" (long) makes it wait that long before answering, and
// "silent" = true makes it send no reply at all. It claims to answer without blocking only
// when told to.

#ifndef TVAPP_TEST_ECHO_APPLICATION_H_
#define TVAPP_TEST_ECHO_APPLICATION_H_

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

#include "tvapp/message_handler.h"

namespace ORVELL0300 {

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

  // The names of the requests received so far, in order of arrival.
  std::vector<std::string> received() const;

  // A request named |name| with the optional delay and silence entries.
  static CMessage Request(const std::string& name, long delay_ms = 0, bool silent = false);

 private:
  mutable std::mutex lock_;
  std::vector<std::string> received_;
  std::atomic<bool> answers_without_blocking_{false};
};

}  // namespace ORVELL0300

#endif  // TVAPP_TEST_ECHO_APPLICATION_H_
