#include "tvapp/application_base.h"

#include <memory>
#include <string>

#include "base/logging.h"
#include "tvapp/exchange_observer.h"
#include "tvapp/instance_directory.h"
#include "tvapp/instance_endpoint.h"

namespace ORVELL0300 {

CApplicationBase::CApplicationBase() : reply_time_limit_ms_(kDefaultReplyTimeLimit.count()) {}

CApplicationBase::~CApplicationBase() = default;

int CApplicationBase::SendMessage(int message_type,
                                  int instance_id,
                                  CMessage request,
                                  CMessage& reply) {
  const auto start = std::chrono::steady_clock::now();
  const auto deadline = start + GetReplyTimeLimit();
  std::string name;
  std::shared_ptr<CInstanceEndpoint> endpoint =
      CInstanceDirectory::GetInstance()->FindEndpoint(instance_id, &name);
  const bool answered = endpoint && endpoint->Exchange(message_type, request, deadline, &reply);
  if (!endpoint) {
    LOG_AT(logging::LOG_WARNING) << "tvapp: no application instance has the id " << instance_id;
  } else if (!answered) {
    LOG_AT(logging::LOG_WARNING) << "tvapp: no reply from the application instance " << name;
  }
  if (CExchangeObserver* observer = observer_.load()) {
    const auto now = std::chrono::steady_clock::now();
    observer->OnExchange(endpoint ? name : "#" + std::to_string(instance_id), request,
                         answered ? &reply : nullptr, !answered && now >= deadline,
                         std::chrono::duration_cast<std::chrono::microseconds>(now - start));
  }
  return answered ? 1 : 0;
}

void CApplicationBase::SetExchangeObserver(CExchangeObserver* observer) {
  observer_.store(observer);
}

CExchangeObserver::~CExchangeObserver() = default;

void CApplicationBase::SetReplyTimeLimit(std::chrono::milliseconds limit) {
  reply_time_limit_ms_ = limit.count() < 0 ? 0 : static_cast<long long>(limit.count());
}

std::chrono::milliseconds CApplicationBase::GetReplyTimeLimit() const {
  return std::chrono::milliseconds(reply_time_limit_ms_.load());
}

}  // namespace ORVELL0300
