// Told of every exchange on the links of this process's component stubs: what a host
// implements to trace the traffic or count it. None is installed unless the host sets one,
// and without one a stub does no work for it.

#ifndef RUNTIME_LINK_OBSERVER_H_
#define RUNTIME_LINK_OBSERVER_H_

#include <chrono>
#include <cstdint>
#include <string>

namespace IPC {
class Message;
}

namespace runtime {

class LinkObserver {
 public:
  virtual ~LinkObserver();

  // |request| arrived on the link |link| from the peer with pid |peer_pid| and was answered
  // with |reply| after |elapsed|, or handled without a reply (|reply| null). On the link's
  // thread, just before the reply is written; both messages live only for the call.
  virtual void OnLinkExchange(const std::string& link,
                              int32_t peer_pid,
                              const IPC::Message& request,
                              const IPC::Message* reply,
                              std::chrono::microseconds elapsed) = 0;

  // A peer with pid |peer_pid| greeted the link |link|, or left it. On the link's thread.
  virtual void OnLinkPeerConnected(const std::string& link, int32_t peer_pid) = 0;
  virtual void OnLinkPeerLeft(const std::string& link) = 0;
};

}  // namespace runtime

#endif  // RUNTIME_LINK_OBSERVER_H_
