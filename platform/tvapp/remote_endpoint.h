// An application instance served by another process on a Unix socket. Each exchange
// opens its own connection, so an answer that comes too late never reaches a later
// exchange; the request id in the reply is checked all the same.

#ifndef TVAPP_REMOTE_ENDPOINT_H_
#define TVAPP_REMOTE_ENDPOINT_H_

#include <atomic>
#include <cstdint>
#include <string>

#include "tvapp/instance_endpoint.h"

namespace ORVELL0300 {

class CRemoteEndpoint : public CInstanceEndpoint {
 public:
  explicit CRemoteEndpoint(const std::string& socket_path);
  ~CRemoteEndpoint() override;

  // False when the socket cannot be reached, the peer closes the connection or sends a
  // malformed frame, or |deadline| passes first.
  bool Exchange(int message_type,
                const CMessage& request,
                std::chrono::steady_clock::time_point deadline,
                CMessage* reply) override;
  // Exchanges under way end by themselves, at their deadline at the latest.
  void Close() override;

 private:
  const std::string socket_path_;
  std::atomic<uint32_t> next_request_id_{1};
  std::atomic<bool> closed_{false};
};

}  // namespace ORVELL0300

#endif  // TVAPP_REMOTE_ENDPOINT_H_
