#include "ipc/ipc_channel_peer_router.h"

#include <algorithm>
#include <utility>

#include "base/message_loop/message_loop.h"

namespace IPC {

// The listener of one peer's channel: passes everything on to the router's listener.
class ChannelPeerRouter::PeerListener : public Channel::Listener {
 public:
  // |router| and |channel| are not owned; the router outlives the listener.
  PeerListener(ChannelPeerRouter* router, Channel* channel) : router_(router), channel_(channel) {}

  // The router may delete this listener while it dispatches; nothing of it is used after.
  bool OnMessageReceived(const Message& message) override {
    router_->Dispatch(channel_, message);
    return true;
  }
  void OnChannelConnected(int32_t peer_pid) override {
    if (Channel::Listener* listener = router_->listener())
      listener->OnChannelConnected(peer_pid);
  }
  void OnChannelError() override {
    router_->OnPeerLeft(channel_);
    if (Channel::Listener* listener = router_->listener())
      listener->OnChannelError();
  }

 private:
  ChannelPeerRouter* const router_;
  Channel* const channel_;
};

ChannelPeerRouter::ChannelPeerRouter(const std::string& path, Channel::Listener* listener)
    : listener_(listener), server_(path, this) {}

ChannelPeerRouter::~ChannelPeerRouter() {
  Close();
}

bool ChannelPeerRouter::Listen(base::MessageLoop* io_loop) {
  io_loop_.store(io_loop);
  return server_.Listen(io_loop);
}

void ChannelPeerRouter::Close() {
  closing_.store(true);
  server_.Close();
}

bool ChannelPeerRouter::Send(Message* message) {
  if (base::MessageLoop::current() == io_loop_.load() && dispatching_) {
    if (dispatching_peer_)
      return dispatching_peer_->Send(message);
    delete message;  // the peer that asked left meanwhile
    return false;
  }
  std::lock_guard<std::mutex> lock(routable_lock_);
  if (routable_.size() != 1) {
    delete message;
    return false;
  }
  return routable_.front()->Send(message);
}

size_t ChannelPeerRouter::peer_count() const {
  std::lock_guard<std::mutex> lock(routable_lock_);
  return routable_.size();
}

int32_t ChannelPeerRouter::dispatching_peer_pid() const {
  return dispatching_peer_ ? dispatching_peer_->peer_pid() : -1;
}

Channel::Listener* ChannelPeerRouter::OnPeerConnected(Channel* channel) {
  auto peer = std::make_unique<PeerListener>(this, channel);
  PeerListener* raw_peer = peer.get();
  peers_[channel] = std::move(peer);
  std::lock_guard<std::mutex> lock(routable_lock_);
  routable_.push_back(channel);
  return raw_peer;
}

void ChannelPeerRouter::OnPeerDisconnected(Channel* channel) {
  OnPeerLeft(channel);
  peers_.erase(channel);
}

void ChannelPeerRouter::OnPeerLeft(Channel* channel) {
  if (dispatching_peer_ == channel)
    dispatching_peer_ = nullptr;
  std::lock_guard<std::mutex> lock(routable_lock_);
  routable_.erase(std::remove(routable_.begin(), routable_.end(), channel), routable_.end());
}

void ChannelPeerRouter::OnPeerDenied() {
  if (Channel::Listener* listener = this->listener())
    listener->OnChannelDenied();
}

void ChannelPeerRouter::OnListenError() {
  if (Channel::Listener* listener = this->listener())
    listener->OnChannelListenError();
}

void ChannelPeerRouter::Dispatch(Channel* channel, const Message& message) {
  Channel::Listener* listener = this->listener();
  if (!listener)
    return;
  // The listener may close and destroy the channel, and with it the router's owner.
  std::shared_ptr<ChannelPeerRouter> self = shared_from_this();
  dispatching_ = true;
  dispatching_peer_ = channel;
  listener->OnMessageReceived(message);
  dispatching_ = false;
  dispatching_peer_ = nullptr;
}

Channel::Listener* ChannelPeerRouter::listener() const {
  return closing_.load() ? nullptr : listener_;
}

}  // namespace IPC
