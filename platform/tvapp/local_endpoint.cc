#include "tvapp/local_endpoint.h"

#include "tvapp/message_handler.h"

namespace ORVELL0300 {

CLocalEndpoint::CLocalEndpoint(CMessageHandler* handler)
    : handler_(handler), thread_(&CLocalEndpoint::Run, this) {}

CLocalEndpoint::~CLocalEndpoint() {
  Close();
}

bool CLocalEndpoint::Exchange(int message_type,
                              const CMessage& request,
                              std::chrono::steady_clock::time_point deadline,
                              CMessage* reply) {
  // Asked before the lock is taken: no code of the handler runs under it.
  const bool may_answer_here = handler_->AnswersWithoutBlocking();
  std::unique_lock<std::mutex> lock(lock_);
  if (closed_)
    return false;
  if (may_answer_here && !busy_ && jobs_.empty())
    return ExchangeHere(message_type, request, deadline, reply, &lock);
  const uint32_t request_id = next_request_id_++;
  Waiter& waiter = waiters_[request_id];
  jobs_.push_back(Job{request_id, message_type, request, deadline});
  job_ready_.notify_one();
  reply_ready_.wait_until(lock, deadline, [this, &waiter] { return closed_ || waiter.answered; });
  const bool answered = waiter.answered;
  if (answered)
    *reply = waiter.reply;
  waiters_.erase(request_id);
  return answered;
}

bool CLocalEndpoint::ExchangeHere(int message_type,
                                  const CMessage& request,
                                  std::chrono::steady_clock::time_point deadline,
                                  CMessage* reply,
                                  std::unique_lock<std::mutex>* lock) {
  if (std::chrono::steady_clock::now() >= deadline)
    return false;
  busy_ = true;
  lock->unlock();
  CMessage answer;
  const bool answered = handler_->OnMessage(message_type, request, deadline, &answer);
  lock->lock();
  busy_ = false;
  // Senders that queued meanwhile are the framework thread's again, and Close() may be
  // waiting. The framework thread is woken only for a reason: a wake-up costs as much as
  // the call itself.
  if (!jobs_.empty())
    job_ready_.notify_one();
  if (closed_)
    idle_.notify_all();
  if (answered) {
    *reply = answer;
    return true;
  }
  // No answer is coming, as when the framework thread gets none: the sender waits out its
  // time limit, or until the endpoint closes.
  reply_ready_.wait_until(*lock, deadline, [this] { return closed_; });
  return false;
}

void CLocalEndpoint::Close() {
  {
    std::lock_guard<std::mutex> lock(lock_);
    closed_ = true;
    jobs_.clear();
  }
  job_ready_.notify_all();
  reply_ready_.notify_all();
  if (thread_.joinable())
    thread_.join();
  // A handler running on a sender's thread.
  std::unique_lock<std::mutex> lock(lock_);
  idle_.wait(lock, [this] { return !busy_; });
}

void CLocalEndpoint::Run() {
  std::unique_lock<std::mutex> lock(lock_);
  for (;;) {
    job_ready_.wait(lock, [this] { return closed_ || (!busy_ && !jobs_.empty()); });
    if (closed_)
      return;
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    // A sender that gave up has taken its waiter away, or is about to.
    if (waiters_.count(job.request_id) == 0 || std::chrono::steady_clock::now() >= job.deadline)
      continue;
    busy_ = true;
    lock.unlock();
    CMessage reply;
    const bool answered = handler_->OnMessage(job.message_type, job.request, job.deadline, &reply);
    lock.lock();
    busy_ = false;
    auto waiter = waiters_.find(job.request_id);
    if (!answered || waiter == waiters_.end())
      continue;
    waiter->second.answered = true;
    waiter->second.reply = reply;
    reply_ready_.notify_all();
  }
}

}  // namespace ORVELL0300
