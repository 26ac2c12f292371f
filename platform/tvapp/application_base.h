// An application of the TV application framework, and how it messages other application
// instances.

#ifndef TVAPP_APPLICATION_BASE_H_
#define TVAPP_APPLICATION_BASE_H_

#include <atomic>
#include <chrono>

#include "tvapp/message.h"

namespace ORVELL0300 {

class CExchangeObserver;

// The kind of exchange that SendMessage performs, passed as its first argument and handed
// to the receiving instance: a query carries a named request and expects one reply.
const int kMessageTypeQuery = 20792;  // 0x5138

// How long SendMessage waits for a reply unless told otherwise.
const std::chrono::milliseconds kDefaultReplyTimeLimit(5000);

class CApplicationBase {
 public:
  CApplicationBase();
  virtual ~CApplicationBase();
  CApplicationBase(const CApplicationBase&) = delete;
  CApplicationBase& operator=(const CApplicationBase&) = delete;

  // Sends |request| as a message of |message_type| to the instance |instance_id| and
  // waits for its reply, at most GetReplyTimeLimit(). Returns nonzero with |reply|
  // replaced by the answer. Returns 0, leaving |reply| alone, when the instance is not
  // registered, the transport fails or no answer arrives in time. The request carries
  // its deadline: once it has passed, the request is withdrawn if the instance has not
  // taken it up yet, a handler that waits before it acts carries nothing out, and an
  // answer that still arrives is dropped.
  int SendMessage(int message_type, int instance_id, CMessage request, CMessage& reply);

  // The limit on the wait in SendMessage; a negative |limit| counts as zero.
  void SetReplyTimeLimit(std::chrono::milliseconds limit);
  std::chrono::milliseconds GetReplyTimeLimit() const;

  // Makes |observer| (not owned; null for none) hear of every exchange SendMessage makes.
  void SetExchangeObserver(CExchangeObserver* observer);

 private:
  std::atomic<long long> reply_time_limit_ms_;
  std::atomic<CExchangeObserver*> observer_{nullptr};
};

}  // namespace ORVELL0300

#endif  // TVAPP_APPLICATION_BASE_H_
