#include "ipc/ipc_channel_server.h"

#include <unistd.h>

#include <atomic>
#include <map>
#include <mutex>
#include <utility>

#include "base/location.h"
#include "base/logging.h"
#include "base/message_loop/message_loop.h"
#include "base/message_loop/run_on_loop.h"
#include "base/posix/unix_domain_socket.h"

namespace IPC {

// The server's state, shared with the tasks it posts to the I/O loop.
//
// The listen socket, the peers and the delegate are used on the I/O thread only (and by
// Listen() before the I/O thread sees the server). |loop_lock_| keeps |io_loop_|, through
// which other threads reach the I/O thread, from being cleared while they post to it.
class ChannelServer::Core : public base::MessageLoop::Watcher,
                            public base::MessageLoop::DestructionObserver,
                            public std::enable_shared_from_this<ChannelServer::Core> {
 public:
  // |delegate| is not owned.
  Core(const std::string& path, Delegate* delegate);
  ~Core() override;
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  bool Listen(base::MessageLoop* io_loop);
  void Close();
  size_t peer_count() const { return peer_count_.load(); }
  void SetPeerUid(uid_t uid) { expected_peer_uid_.store(uid); }

  // base::MessageLoop::Watcher:
  void OnFileCanReadWithoutBlocking(int fd) override;
  void OnFileCanWriteWithoutBlocking(int fd) override;

  // base::MessageLoop::DestructionObserver: the I/O loop goes away before the server, which
  // stops accepting and disconnects its peers in the loop's last tasks.
  void WillDestroyCurrentMessageLoop() override;

 private:
  class Peer;

  // The rest runs on the I/O thread.
  void StartWatching();
  void WatchListenSocket();
  void ResumeListening();
  void AcceptPeer();
  void ServePeer(int fd);
  // The channel of |peer| reported its peer gone.
  void OnPeerLeft(Peer* peer);
  // Closes |peer|'s channel, tells its listener unless |peer| is leaving already (it was
  // told), then the delegate; |peer| and its channel are deleted on return.
  void Disconnect(std::unique_ptr<Peer> peer);
  void StopListening();
  // Stops listening and disconnects every peer; idempotent.
  void Teardown();

  const std::string path_;
  Delegate* const delegate_;  // not owned
  std::atomic<uid_t> expected_peer_uid_;
  std::atomic<bool> closing_{false};
  std::atomic<size_t> peer_count_{0};

  std::mutex loop_lock_;
  // Not owned. Set by Listen(); cleared under |loop_lock_| once the server is torn down,
  // after which no thread posts to it.
  std::atomic<base::MessageLoop*> io_loop_{nullptr};

  // Used on the I/O thread only (and by Listen() before the I/O thread sees the server).
  base::MessageLoop* observed_loop_ = nullptr;  // the loop this watches for its destruction
  int listen_fd_ = -1;
  base::SocketFileId socket_file_;
  base::MessageLoop::FileDescriptorWatcher listen_watcher_;
  std::map<Channel*, std::unique_ptr<Peer>> peers_;
  bool torn_down_ = false;
};

// One peer: its channel, and the listener the delegate gave for it. The channel's own
// listener is the peer, which passes everything on and tells the server when the channel
// fails.
class ChannelServer::Core::Peer : public Channel::Listener {
 public:
  // |core| is not owned and outlives the peer.
  explicit Peer(Core* core) : core_(core) {}
  ~Peer() override = default;
  Peer(const Peer&) = delete;
  Peer& operator=(const Peer&) = delete;

  // Takes ownership of |channel|.
  void set_channel(std::unique_ptr<Channel> channel) { channel_ = std::move(channel); }
  Channel* channel() const { return channel_.get(); }
  // |listener| is not owned.
  void set_listener(Channel::Listener* listener) { listener_ = listener; }
  Channel::Listener* listener() const { return listener_; }
  bool leaving() const { return leaving_; }
  void set_leaving() { leaving_ = true; }

  // Channel::Listener:
  bool OnMessageReceived(const Message& message) override {
    return listener_ && listener_->OnMessageReceived(message);
  }
  void OnChannelConnected(int32_t peer_pid) override {
    if (listener_)
      listener_->OnChannelConnected(peer_pid);
  }
  // The server may delete the peer inside this call.
  void OnChannelError() override { core_->OnPeerLeft(this); }

 private:
  Core* const core_;
  Channel::Listener* listener_ = nullptr;  // not owned; null until the delegate accepts
  bool leaving_ = false;
  std::unique_ptr<Channel> channel_;
};

ChannelServer::Core::Core(const std::string& path, Delegate* delegate)
    : path_(path), delegate_(delegate), expected_peer_uid_(geteuid()) {}

ChannelServer::Core::~Core() {
  // Teardown() has closed it unless the I/O loop never ran the server's first task.
  if (listen_fd_ >= 0)
    base::CloseListeningSocket(listen_fd_, path_, socket_file_);
}

bool ChannelServer::Core::Listen(base::MessageLoop* io_loop) {
  {
    std::lock_guard<std::mutex> lock(loop_lock_);
    if (!io_loop || io_loop_.load() || closing_.load())
      return false;
    std::string error;
    const int fd = base::CreateListeningSocket(path_, &socket_file_, &error);
    if (fd < 0) {
      LOG_AT(logging::LOG_ERROR) << "cannot serve " << error;
      return false;
    }
    listen_fd_ = fd;
    io_loop_.store(io_loop);
  }
  if (base::MessageLoop::current() == io_loop) {
    StartWatching();
    return true;
  }
  std::shared_ptr<Core> self = shared_from_this();
  if (!io_loop->PostTask(FROM_HERE, [self] { self->StartWatching(); })) {
    // The loop is being destroyed: nothing runs on it any more.
    Teardown();
    return false;
  }
  return true;
}

void ChannelServer::Core::Close() {
  // A callback may destroy the server; this keeps the state alive until Close() returns.
  std::shared_ptr<Core> self = shared_from_this();
  closing_.store(true);
  base::RunOnLoopAndWait(&loop_lock_, &io_loop_, [self] { self->Teardown(); });
}

void ChannelServer::Core::OnFileCanReadWithoutBlocking(int fd) {
  // A callback may destroy the server; this keeps the state alive until the handler unwinds.
  std::shared_ptr<Core> self = shared_from_this();
  if (fd == listen_fd_)
    AcceptPeer();
}

void ChannelServer::Core::OnFileCanWriteWithoutBlocking(int fd) {}

void ChannelServer::Core::WillDestroyCurrentMessageLoop() {
  observed_loop_ = nullptr;  // the loop forgets its observers itself
  closing_.store(true);
  StopListening();
  // The peers' channels are observers of the same loop, still to be told: they may not be
  // deleted before the loop has told every observer, so the peers go in a task, which the
  // loop runs before it dies.
  std::shared_ptr<Core> self = shared_from_this();
  base::MessageLoop* io_loop = base::MessageLoop::current();
  if (!io_loop->PostTask(FROM_HERE, [self] { self->Teardown(); }))
    Teardown();
}

void ChannelServer::Core::StartWatching() {
  if (torn_down_)
    return;
  base::MessageLoop* io_loop = base::MessageLoop::current();
  if (!io_loop->AddDestructionObserver(this)) {
    // The loop is being destroyed and will never call the server.
    Teardown();
    return;
  }
  observed_loop_ = io_loop;
  WatchListenSocket();
}

void ChannelServer::Core::WatchListenSocket() {
  base::MessageLoop::current()->WatchFileDescriptor(listen_fd_, true, base::MessageLoop::WATCH_READ,
                                                    &listen_watcher_, this);
}

void ChannelServer::Core::ResumeListening() {
  if (!torn_down_ && listen_fd_ >= 0)
    WatchListenSocket();
}

void ChannelServer::Core::AcceptPeer() {
  int fd = -1;
  const base::AcceptResult result = base::AcceptConnection(listen_fd_, path_, &fd);
  if (result == base::ACCEPT_NONE)
    return;
  if (result == base::ACCEPT_FAILED) {
    // Pause instead of spinning on a socket that stays readable.
    listen_watcher_.StopWatchingFileDescriptor();
    std::weak_ptr<Core> weak_self = shared_from_this();
    base::MessageLoop::current()->PostDelayedTask(
        FROM_HERE,
        [weak_self] {
          if (std::shared_ptr<Core> self = weak_self.lock())
            self->ResumeListening();
        },
        base::kAcceptRetryDelay);
    delegate_->OnListenError();
    return;
  }
  // The refusal is logged before the peer can see it.
  if (!base::IsPeerUid(fd, expected_peer_uid_.load())) {
    LOG_AT(logging::LOG_ERROR) << "channel server " << path_
                               << " refused a peer with another user id";
    close(fd);
    delegate_->OnPeerDenied();
    return;
  }
  if (peers_.size() >= kMaximumPeers) {
    LOG_AT(logging::LOG_ERROR) << "channel server " << path_ << " refused a peer: already "
                               << kMaximumPeers << " peers";
    close(fd);
    return;
  }
  ServePeer(fd);
}

void ChannelServer::Core::ServePeer(int fd) {
  auto peer = std::make_unique<Peer>(this);
  std::unique_ptr<Channel> channel =
      Channel::CreateForAcceptedConnection(path_, fd, peer.get(), base::MessageLoop::current());
  if (!channel)
    return;
  Channel* raw_channel = channel.get();
  peer->set_channel(std::move(channel));
  // Nothing is read before this returns: the channel's reads run from the loop.
  Channel::Listener* listener = delegate_->OnPeerConnected(raw_channel);
  if (!listener)
    return;  // refused: the channel closes with |peer|
  peer->set_listener(listener);
  if (torn_down_) {
    // The server was closed from inside OnPeerConnected().
    Disconnect(std::move(peer));
    return;
  }
  peers_[raw_channel] = std::move(peer);
  peer_count_.store(peers_.size());
}

void ChannelServer::Core::OnPeerLeft(Peer* peer) {
  // The delegate may destroy the server from its callbacks.
  std::shared_ptr<Core> self = shared_from_this();
  Channel* channel = peer->channel();
  if (torn_down_ || peers_.count(channel) == 0)
    return;  // a refused peer, or one already being disconnected
  peer->set_leaving();
  peer->listener()->OnChannelError();
  // The server may have been closed meanwhile, which finished with the peer.
  if (torn_down_)
    return;
  auto it = peers_.find(channel);
  std::unique_ptr<Peer> owned = std::move(it->second);
  peers_.erase(it);
  peer_count_.store(peers_.size());
  Disconnect(std::move(owned));
}

void ChannelServer::Core::Disconnect(std::unique_ptr<Peer> peer) {
  Channel* channel = peer->channel();
  channel->Close();
  if (!peer->leaving()) {
    peer->set_leaving();
    peer->listener()->OnChannelError();
  }
  delegate_->OnPeerDisconnected(channel);
}

void ChannelServer::Core::StopListening() {
  listen_watcher_.StopWatchingFileDescriptor();
  if (listen_fd_ >= 0) {
    base::CloseListeningSocket(listen_fd_, path_, socket_file_);
    listen_fd_ = -1;
  }
}

void ChannelServer::Core::Teardown() {
  if (torn_down_)
    return;
  torn_down_ = true;
  closing_.store(true);
  if (observed_loop_) {
    observed_loop_->RemoveDestructionObserver(this);
    observed_loop_ = nullptr;
  }
  StopListening();
  // Callbacks may close the server again, which finds it torn down and leaves the rest here.
  while (!peers_.empty()) {
    auto it = peers_.begin();
    std::unique_ptr<Peer> peer = std::move(it->second);
    peers_.erase(it);
    peer_count_.store(peers_.size());
    Disconnect(std::move(peer));
  }
  std::lock_guard<std::mutex> lock(loop_lock_);
  io_loop_.store(nullptr);
}

ChannelServer::Delegate::~Delegate() = default;

void ChannelServer::Delegate::OnPeerDenied() {}

void ChannelServer::Delegate::OnListenError() {}

const size_t ChannelServer::kMaximumPeers;

ChannelServer::ChannelServer(const std::string& path, Delegate* delegate)
    : path_(path), core_(std::make_shared<Core>(path, delegate)) {}

ChannelServer::~ChannelServer() {
  core_->Close();
}

bool ChannelServer::Listen(base::MessageLoop* io_loop) {
  return core_->Listen(io_loop);
}

void ChannelServer::Close() {
  core_->Close();
}

size_t ChannelServer::peer_count() const {
  return core_->peer_count();
}

void ChannelServer::SetPeerUidForTesting(uid_t uid) {
  core_->SetPeerUid(uid);
}

}  // namespace IPC
