// An application instance living in this process: a handler object that a framework
// thread feeds with messages, one at a time, in the order they were sent. A message whose
// sender gave up (its deadline passed, or the endpoint closed) before its turn came is
// withdrawn: the handler never sees it.
//
// A handler that answers without blocking (CMessageHandler::AnswersWithoutBlocking) is
// called on the sender's thread instead when nothing else is queued or being handled:
// the exchange then costs a function call rather than two thread wake-ups. Its answer is
// taken even if the deadline passes while it runs, since it has acted on the message.

#ifndef TVAPP_LOCAL_ENDPOINT_H_
#define TVAPP_LOCAL_ENDPOINT_H_

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <thread>

#include "tvapp/instance_endpoint.h"

namespace ORVELL0300 {

class CMessageHandler;

class CLocalEndpoint : public CInstanceEndpoint {
 public:
  // |handler| is not owned; it must stay alive until Close() has returned.
  explicit CLocalEndpoint(CMessageHandler* handler);
  ~CLocalEndpoint() override;

  bool Exchange(int message_type,
                const CMessage& request,
                std::chrono::steady_clock::time_point deadline,
                CMessage* reply) override;
  // Makes waiting senders fail at once, drops the messages not yet handled and waits for
  // the one being handled, so the handler is never called again once this returns.
  void Close() override;

 private:
  struct Job {
    uint32_t request_id;
    int message_type;
    CMessage request;
    std::chrono::steady_clock::time_point deadline;
  };
  struct Waiter {
    bool answered = false;
    CMessage reply;
  };

  // Hands the request to the handler on the calling thread, which holds |lock| and has
  // found the endpoint open and idle.
  bool ExchangeHere(int message_type,
                    const CMessage& request,
                    std::chrono::steady_clock::time_point deadline,
                    CMessage* reply,
                    std::unique_lock<std::mutex>* lock);

  // The framework thread: hands each job whose sender still waits to the handler, and
  // its answer to the sender if it still waits; an answer nobody waits for is dropped.
  void Run();

  CMessageHandler* const handler_;
  std::mutex lock_;
  std::condition_variable job_ready_;
  std::condition_variable reply_ready_;
  std::condition_variable idle_;
  std::deque<Job> jobs_;
  // The senders that still wait, by request id.
  std::map<uint32_t, Waiter> waiters_;
  uint32_t next_request_id_ = 1;
  // The handler is running, on the framework thread or on a sender's.
  bool busy_ = false;
  bool closed_ = false;
  std::thread thread_;
};

}  // namespace ORVELL0300

#endif  // TVAPP_LOCAL_ENDPOINT_H_
