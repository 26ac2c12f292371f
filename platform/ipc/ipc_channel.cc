#include "ipc/ipc_channel.h"

#include "ipc/ipc_channel_posix.h"

namespace IPC {

Channel::Listener::~Listener() = default;

void Channel::Listener::OnChannelConnected(int32_t peer_pid) {}

void Channel::Listener::OnChannelError() {}

void Channel::Listener::OnChannelDenied() {}

void Channel::Listener::OnChannelListenError() {}

Channel::Channel(const std::string& channel_name, Mode mode, Listener* listener)
    : channel_name_(channel_name),
      mode_(mode),
      impl_(std::make_shared<ChannelImpl>(channel_name, mode, listener)) {}

// static
std::unique_ptr<Channel> Channel::CreateForAcceptedConnection(const std::string& channel_name,
                                                              int fd,
                                                              Listener* listener,
                                                              base::MessageLoop* io_loop) {
  std::unique_ptr<Channel> channel(new Channel(channel_name, MODE_NAMED_SERVER, listener));
  if (!channel->impl_->ServeAcceptedConnection(fd, io_loop))
    return nullptr;
  return channel;
}

Channel::~Channel() {
  impl_->Close();
}

bool Channel::Connect(base::MessageLoop* io_loop) {
  return impl_->Connect(io_loop);
}

void Channel::Close() {
  impl_->Close();
}

bool Channel::Send(Message* message) {
  return impl_->Send(message);
}

void Channel::SetPeerUidForTesting(uid_t uid) {
  impl_->SetPeerUidForTesting(uid);
}

}  // namespace IPC
