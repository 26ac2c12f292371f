#include "tvapp/application_base.h"

#include <memory>

#include "base/logging.h"
#include "tvapp/instance_directory.h"
#include "tvapp/instance_endpoint.h"

namespace ORVELL0300 {

CApplicationBase::CApplicationBase() : reply_time_limit_ms_(kDefaultReplyTimeLimit.count()) {}

CApplicationBase::~CApplicationBase() = default;

int CApplicationBase::SendMessage(int message_type,
                                  int instance_id,
                                  CMessage request,
                                  CMessage& reply) {
  const auto deadline = std::chrono::steady_clock::now() + GetReplyTimeLimit();
  std::shared_ptr<CInstanceEndpoint> endpoint =
      CInstanceDirectory::GetInstance()->FindEndpoint(instance_id);
  if (!endpoint) {
    LOG_AT(logging::LOG_WARNING) << "tvapp: no application instance " << instance_id;
    return 0;
  }
  if (!endpoint->Exchange(message_type, request, deadline, &reply)) {
    LOG_AT(logging::LOG_WARNING) << "tvapp: no reply from application instance " << instance_id;
    return 0;
  }
  return 1;
}

void CApplicationBase::SetReplyTimeLimit(std::chrono::milliseconds limit) {
  reply_time_limit_ms_ = limit.count() < 0 ? 0 : static_cast<long long>(limit.count());
}

std::chrono::milliseconds CApplicationBase::GetReplyTimeLimit() const {
  return std::chrono::milliseconds(reply_time_limit_ms_.load());
}

}  // namespace ORVELL0300
