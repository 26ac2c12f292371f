#include "ipc/ipc_channel.h"

#include "ipc/ipc_channel_connection.h"
#include "ipc/ipc_channel_peer_router.h"

namespace IPC {

Channel::Listener::~Listener() = default;

void Channel::Listener::OnChannelConnected(int32_t peer_pid) {}

void Channel::Listener::OnChannelError() {}

void Channel::Listener::OnChannelDenied() {}

void Channel::Listener::OnChannelListenError() {}

constexpr size_t Channel::kMaximumMessageSize;
constexpr size_t Channel::kReadPauseBytes;
constexpr size_t Channel::kMaximumQueuedBytes;
constexpr size_t Channel::kMaximumPeers;

Channel::Channel(const std::string& channel_name, Mode mode, Listener* listener)
    : channel_name_(channel_name), mode_(mode) {
  if (IsServer())
    router_ = std::make_shared<ChannelPeerRouter>(channel_name, listener);
  else
    connection_ = std::make_shared<ChannelConnection>(channel_name, listener);
}

Channel::Channel(const std::string& channel_name, Listener* listener)
    : channel_name_(channel_name),
      mode_(MODE_NAMED_SERVER),
      connection_(std::make_shared<ChannelConnection>(channel_name, listener)) {}

// static
std::unique_ptr<Channel> Channel::CreateForAcceptedConnection(const std::string& channel_name,
                                                              int fd,
                                                              Listener* listener,
                                                              base::MessageLoop* io_loop) {
  std::unique_ptr<Channel> channel(new Channel(channel_name, listener));
  if (!channel->connection_->Serve(fd, io_loop))
    return nullptr;
  return channel;
}

Channel::~Channel() {
  Close();
}

bool Channel::Connect(base::MessageLoop* io_loop) {
  if (mode_ == MODE_NONE)
    return false;
  return router_ ? router_->Listen(io_loop) : connection_->Connect(io_loop);
}

void Channel::Close() {
  if (router_)
    router_->Close();
  else
    connection_->Close();
}

bool Channel::Send(Message* message) {
  return router_ ? router_->Send(message) : connection_->Send(message);
}

size_t Channel::peer_count() const {
  if (router_)
    return router_->peer_count();
  return connection_->is_connected() ? 1 : 0;
}

int32_t Channel::peer_pid() const {
  return router_ ? router_->dispatching_peer_pid() : connection_->peer_pid();
}

void Channel::SetPeerUidForTesting(uid_t uid) {
  if (router_)
    router_->SetPeerUidForTesting(uid);
}

bool Channel::IsServer() const {
  return mode_ == MODE_SERVER || mode_ == MODE_NAMED_SERVER;
}

}  // namespace IPC
