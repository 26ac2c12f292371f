// Where the directory delivers the messages of one application instance. An endpoint is
// not copied: the directory shares it.

#ifndef TVAPP_INSTANCE_ENDPOINT_H_
#define TVAPP_INSTANCE_ENDPOINT_H_

#include <chrono>

#include "tvapp/message.h"

namespace ORVELL0300 {

class CInstanceEndpoint {
 public:
  CInstanceEndpoint() = default;
  virtual ~CInstanceEndpoint() = default;
  CInstanceEndpoint(const CInstanceEndpoint&) = delete;
  CInstanceEndpoint& operator=(const CInstanceEndpoint&) = delete;

  // Delivers |request| as a message of |message_type| and waits, until |deadline| at the
  // latest, for the answer to this very request. True with |reply| set when it came.
  virtual bool Exchange(int message_type,
                        const CMessage& request,
                        std::chrono::steady_clock::time_point deadline,
                        CMessage* reply) = 0;

  // Refuses every later exchange. Must not be called from the instance's own handler.
  virtual void Close() = 0;
};

}  // namespace ORVELL0300

#endif  // TVAPP_INSTANCE_ENDPOINT_H_
