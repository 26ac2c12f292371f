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
  std::unique_lock<std::mutex> lock(lock_);
  if (closed_)
    return false;
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
}

void CLocalEndpoint::Run() {
  std::unique_lock<std::mutex> lock(lock_);
  for (;;) {
    job_ready_.wait(lock, [this] { return closed_ || !jobs_.empty(); });
    if (closed_)
      return;
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    // A sender that gave up has taken its waiter away, or is about to.
    if (waiters_.count(job.request_id) == 0 || std::chrono::steady_clock::now() >= job.deadline)
      continue;
    lock.unlock();
    CMessage reply;
    const bool answered = handler_->OnMessage(job.message_type, job.request, job.deadline, &reply);
    lock.lock();
    auto waiter = waiters_.find(job.request_id);
    if (!answered || waiter == waiters_.end())
      continue;
    waiter->second.answered = true;
    waiter->second.reply = reply;
    reply_ready_.notify_all();
  }
}

}  // namespace ORVELL0300
