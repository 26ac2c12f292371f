// A server channel's peers: a ChannelServer whose peers' messages all reach the channel's
// one listener, and which sends each reply to the peer whose message is being dispatched.
// The rules it keeps are those of a MODE_NAMED_SERVER channel (ipc/ipc_channel.h).

#ifndef IPC_IPC_CHANNEL_PEER_ROUTER_H_
#define IPC_IPC_CHANNEL_PEER_ROUTER_H_

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ipc/ipc_channel.h"
#include "ipc/ipc_channel_server.h"

namespace base {
class MessageLoop;
}

namespace IPC {

class ChannelPeerRouter : public ChannelServer::Delegate,
                          public std::enable_shared_from_this<ChannelPeerRouter> {
 public:
  // |listener| is not owned and must outlive the router.
  ChannelPeerRouter(const std::string& path, Channel::Listener* listener);
  ~ChannelPeerRouter() override;
  ChannelPeerRouter(const ChannelPeerRouter&) = delete;
  ChannelPeerRouter& operator=(const ChannelPeerRouter&) = delete;

  bool Listen(base::MessageLoop* io_loop);
  // Closes the server and every peer without telling the listener.
  void Close();
  bool Send(Message* message);
  size_t peer_count() const;
  // The pid of the peer whose message is being dispatched, or -1. On the I/O thread.
  int32_t dispatching_peer_pid() const;
  void SetPeerUidForTesting(uid_t uid) { server_.SetPeerUidForTesting(uid); }

  // ChannelServer::Delegate, on the I/O thread:
  Channel::Listener* OnPeerConnected(Channel* channel) override;
  void OnPeerDisconnected(Channel* channel) override;
  void OnPeerDenied() override;
  void OnListenError() override;

 private:
  class PeerListener;

  // |message| from the peer of |channel|, for the listener.
  void Dispatch(Channel* channel, const Message& message);
  // The peer of |channel| left: nothing more is sent to it.
  void OnPeerLeft(Channel* channel);
  // The listener, or null once the router is closing.
  Channel::Listener* listener() const;

  Channel::Listener* const listener_;  // not owned
  std::atomic<bool> closing_{false};
  std::atomic<base::MessageLoop*> io_loop_{nullptr};  // not owned

  // On the I/O thread only: whether a message is being dispatched, and the channel of the
  // peer that sent it (null once that peer is gone).
  bool dispatching_ = false;
  Channel* dispatching_peer_ = nullptr;

  // The peers' listeners, by channel; on the I/O thread only.
  std::map<Channel*, std::unique_ptr<PeerListener>> peers_;

  // The peers that have not left, for senders on any thread; changed on the I/O thread only.
  // A channel is taken out under |routable_lock_| before it is deleted.
  mutable std::mutex routable_lock_;
  std::vector<Channel*> routable_;

  // Last, so that it closes before the peers' listeners go.
  ChannelServer server_;
};

}  // namespace IPC

#endif  // IPC_IPC_CHANNEL_PEER_ROUTER_H_
