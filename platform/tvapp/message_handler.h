// An application instance's side of the framework: what answers the messages addressed
// to it.

#ifndef TVAPP_MESSAGE_HANDLER_H_
#define TVAPP_MESSAGE_HANDLER_H_

#include <chrono>

#include "tvapp/message.h"

namespace ORVELL0300 {

class CMessageHandler {
 public:
  typedef std::chrono::steady_clock::time_point Deadline;

  virtual ~CMessageHandler() = default;

  // Answers one message of |message_type| addressed to the instance. Fill |reply| (empty
  // when handed in) and return true to send it back; return false to send no reply, in
  // which case the sender gives up when its time limit runs out. The framework calls
  // this on a thread of its own, one message at a time for each registration or server.
  //
  // |deadline| is when the sender gives up waiting; the sender then reports a failure.
  // The framework never hands over a message whose deadline has passed. A handler that
  // takes time before it acts (it waits for a device, say) looks at the deadline again
  // just before it changes anything, and carries out nothing once it has passed: it
  // returns false instead.
  virtual bool OnMessage(int message_type,
                         const CMessage& request,
                         Deadline deadline,
                         CMessage* reply) = 0;
};

}  // namespace ORVELL0300

#endif  // TVAPP_MESSAGE_HANDLER_H_
