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
  // this on a thread of its own, one message at a time for each registration or server;
  // see AnswersWithoutBlocking() for the one exception.
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

  // Whether OnMessage() answers the next message promptly without waiting for anything:
  // no sleep, no I/O, no message sent, no lock that is held for long. When it says so, an
  // instance registered in this process may have the message handled on the sender's own
  // thread, if no other message for it is queued or being handled, which spares the
  // hand-off to the framework's thread and back. Messages still come one at a time and in
  // order. Asked before each message, on the sender's thread; false by default.
  virtual bool AnswersWithoutBlocking() const { return false; }
};

}  // namespace ORVELL0300

#endif  // TVAPP_MESSAGE_HANDLER_H_
