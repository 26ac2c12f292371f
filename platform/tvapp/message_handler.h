// An application instance's side of the framework: what answers the messages addressed
// to it.

#ifndef TVAPP_MESSAGE_HANDLER_H_
#define TVAPP_MESSAGE_HANDLER_H_

#include "tvapp/message.h"

namespace ORVELL0300 {

class CMessageHandler {
 public:
  virtual ~CMessageHandler() = default;

  // Answers one message of |message_type| addressed to the instance. Fill |reply| (empty
  // when handed in) and return true to send it back; return false to send no reply, in
  // which case the sender gives up when its time limit runs out. The framework calls
  // this on a thread of its own, one message at a time for each registration or server.
  virtual bool OnMessage(int message_type, const CMessage& request, CMessage* reply) = 0;
};

}  // namespace ORVELL0300

#endif  // TVAPP_MESSAGE_HANDLER_H_
