// Told of every message exchange that CApplicationBase::SendMessage makes with an
// application instance: what a host implements to trace or count them. None is installed
// unless a host sets one, and without one SendMessage does no work for it.

#ifndef TVAPP_EXCHANGE_OBSERVER_H_
#define TVAPP_EXCHANGE_OBSERVER_H_

#include <chrono>
#include <string>

namespace ORVELL0300 {

class CMessage;

class CExchangeObserver {
 public:
  virtual ~CExchangeObserver();

  // |request| went to the instance |instance| and |reply| came back within |elapsed|, or
  // |reply| is null: no answer, |timed_out| saying whether the time limit ran out (rather
  // than the instance being unknown or its transport failing). On the sending thread.
  virtual void OnExchange(const std::string& instance,
                          const CMessage& request,
                          const CMessage* reply,
                          bool timed_out,
                          std::chrono::microseconds elapsed) = 0;
};

}  // namespace ORVELL0300

#endif  // TVAPP_EXCHANGE_OBSERVER_H_
