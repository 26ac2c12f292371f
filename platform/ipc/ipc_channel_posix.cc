#include "ipc/ipc_channel_posix.h"

#include <errno.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#include "base/location.h"
#include "base/logging.h"
#include "base/synchronization/waitable_event.h"
#include "ipc/ipc_message_framing.h"
#include "ipc/unix_domain_socket_util.h"

namespace IPC {

namespace {

// Bytes read from the socket in one go.
const size_t kReadBufferSize = 64 * 1024;

ssize_t SendSome(int fd, const char* data, size_t size) {
  ssize_t written;
  do {
    written = send(fd, data, size, MSG_NOSIGNAL | MSG_DONTWAIT);
  } while (written < 0 && errno == EINTR);
  return written;
}

bool IsWouldBlock(int error) {
  return error == EAGAIN || error == EWOULDBLOCK;
}

}  // namespace

Channel::ChannelImpl::ChannelImpl(const std::string& channel_name, Mode mode, Listener* listener)
    : channel_name_(channel_name),
      mode_(mode),
      expected_peer_uid_(geteuid()),
      listener_(listener) {}

Channel::ChannelImpl::~ChannelImpl() {
  // Close() has torn everything down unless the channel was never connected.
  if (listen_fd_ >= 0)
    close(listen_fd_);
  if (peer_fd_ >= 0)
    close(peer_fd_);
}

bool Channel::ChannelImpl::Connect(base::MessageLoop* io_loop) {
  if (!io_loop || io_loop_.load() || closing_.load())
    return false;
  if (mode_ == MODE_NONE) {
    LOG_AT(logging::LOG_ERROR) << "channel " << channel_name_ << " has no mode";
    return false;
  }
  // Set before the hello goes out, so that a write the socket cannot take at once can ask
  // the I/O thread to finish it.
  io_loop_.store(io_loop);
  if (!(IsServer() ? CreateServerSocket() : ConnectToServer())) {
    io_loop_.store(nullptr);
    return false;
  }
  if (base::MessageLoop::current() == io_loop) {
    StartWatching();
    return true;
  }
  std::shared_ptr<ChannelImpl> self = shared_from_this();
  if (!io_loop->PostTask(FROM_HERE, [self] { self->StartWatching(); })) {
    Teardown();
    io_loop_.store(nullptr);
    return false;
  }
  return true;
}

bool Channel::ChannelImpl::ServeAcceptedConnection(int fd, base::MessageLoop* io_loop) {
  if (io_loop_.load() || closing_.load() || !io_loop->AddDestructionObserver(this)) {
    close(fd);
    return false;
  }
  io_loop_.store(io_loop);
  observed_loop_ = io_loop;
  AdoptPeer(fd);
  return true;
}

void Channel::ChannelImpl::Close() {
  closing_.store(true);
  base::WaitableEvent done(true, false);
  bool posted = false;
  {
    std::lock_guard<std::mutex> lock(send_lock_);
    base::MessageLoop* io_loop = io_loop_.load();
    if (io_loop && base::MessageLoop::current() != io_loop) {
      std::shared_ptr<ChannelImpl> self = shared_from_this();
      posted = io_loop->PostTask(FROM_HERE, [self, &done] {
        self->Teardown();
        done.Signal();
      });
    }
  }
  if (posted) {
    done.Wait();
    return;
  }
  // On the I/O thread, or with no I/O loop (never connected, or the loop is gone and the
  // channel torn down with it): nothing runs on another thread.
  Teardown();
}

bool Channel::ChannelImpl::Send(Message* message) {
  std::unique_ptr<Message> owned(message);
  if (closing_.load())
    return false;
  if (owned->size() > kMaximumMessageSize) {
    LOG_AT(logging::LOG_ERROR) << "channel " << channel_name_ << ": not sending a message of "
                               << owned->size() << " bytes, more than the maximum";
    return false;
  }
  std::lock_guard<std::mutex> lock(send_lock_);
  if (peer_fd_ < 0)
    return false;
  return WriteLocked(static_cast<const char*>(owned->data()), owned->size());
}

void Channel::ChannelImpl::SetPeerUidForTesting(uid_t uid) {
  expected_peer_uid_.store(uid);
}

void Channel::ChannelImpl::OnFileCanReadWithoutBlocking(int fd) {
  // A listener callback may close or destroy the channel; this keeps the state alive until
  // the handler has unwound.
  std::shared_ptr<ChannelImpl> self = shared_from_this();
  if (fd == listen_fd_)
    AcceptPeer();
  else if (fd == peer_fd_)
    ReadFromPeer();
}

void Channel::ChannelImpl::OnFileCanWriteWithoutBlocking(int fd) {
  std::shared_ptr<ChannelImpl> self = shared_from_this();
  if (fd == peer_fd_)
    FlushOutput();
}

void Channel::ChannelImpl::WillDestroyCurrentMessageLoop() {
  observed_loop_ = nullptr;  // the loop forgets its observers itself
  listener_ = nullptr;
  Teardown();
  std::lock_guard<std::mutex> lock(send_lock_);
  io_loop_.store(nullptr);
}

bool Channel::ChannelImpl::IsServer() const {
  return mode_ == MODE_SERVER || mode_ == MODE_NAMED_SERVER;
}

bool Channel::ChannelImpl::CreateServerSocket() {
  const int fd = CreateListeningSocket(channel_name_, &socket_file_);
  if (fd < 0)
    return false;
  listen_fd_ = fd;
  socket_file_created_ = true;
  return true;
}

bool Channel::ChannelImpl::ConnectToServer() {
  sockaddr_un address;
  socklen_t length;
  if (!FillSocketAddress(channel_name_, &address, &length)) {
    LOG_AT(logging::LOG_ERROR) << "invalid socket path \"" << channel_name_ << "\"";
    return false;
  }
  const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd < 0) {
    LOG_AT(logging::LOG_ERROR) << "socket: " << std::strerror(errno);
    return false;
  }
  int result;
  do {
    result = connect(fd, reinterpret_cast<const sockaddr*>(&address), length);
  } while (result < 0 && errno == EINTR);
  if (result != 0) {
    LOG_AT(logging::LOG_ERROR) << "cannot connect to " << channel_name_ << ": "
                               << std::strerror(errno);
    close(fd);
    return false;
  }
  std::unique_ptr<Message> hello(CreateHelloMessage(getpid()));
  std::lock_guard<std::mutex> lock(send_lock_);
  peer_fd_ = fd;
  return WriteLocked(static_cast<const char*>(hello->data()), hello->size());
}

void Channel::ChannelImpl::StartWatching() {
  if (torn_down_)
    return;
  base::MessageLoop* io_loop = io_loop_.load();
  if (!io_loop->AddDestructionObserver(this)) {
    // The loop is being destroyed and will never call the channel.
    WillDestroyCurrentMessageLoop();
    return;
  }
  observed_loop_ = io_loop;
  if (listen_fd_ >= 0) {
    WatchListenSocket();
  } else if (peer_fd_ >= 0) {
    io_loop->WatchFileDescriptor(peer_fd_, true, base::MessageLoop::WATCH_READ, &read_watcher_,
                                 this);
  }
}

void Channel::ChannelImpl::WatchListenSocket() {
  io_loop_.load()->WatchFileDescriptor(listen_fd_, true, base::MessageLoop::WATCH_READ,
                                       &listen_watcher_, this);
}

void Channel::ChannelImpl::AcceptPeer() {
  int fd = -1;
  const AcceptResult result = AcceptConnection(listen_fd_, channel_name_, &fd);
  if (result == ACCEPT_NONE)
    return;
  if (result == ACCEPT_FAILED) {
    // Pause instead of spinning on a socket that stays readable.
    listen_watcher_.StopWatchingFileDescriptor();
    std::weak_ptr<ChannelImpl> weak_self = shared_from_this();
    io_loop_.load()->PostDelayedTask(
        FROM_HERE,
        [weak_self] {
          if (std::shared_ptr<ChannelImpl> self = weak_self.lock())
            self->ResumeListening();
        },
        kAcceptRetryDelay);
    if (listener_)
      listener_->OnChannelListenError();
    return;
  }
  if (!IsPeerUid(fd, expected_peer_uid_.load())) {
    close(fd);
    LOG_AT(logging::LOG_ERROR) << "channel " << channel_name_
                               << " refused a peer with another user id";
    if (listener_)
      listener_->OnChannelDenied();
    return;
  }
  AdoptPeer(fd);
}

void Channel::ChannelImpl::AdoptPeer(int fd) {
  // One peer at a time: the others wait in the listen queue until this one leaves.
  listen_watcher_.StopWatchingFileDescriptor();
  pending_input_.clear();
  hello_received_ = false;
  {
    std::unique_ptr<Message> hello(CreateHelloMessage(getpid()));
    std::lock_guard<std::mutex> lock(send_lock_);
    peer_fd_ = fd;
    output_.clear();
    write_watch_requested_ = false;
    WriteLocked(static_cast<const char*>(hello->data()), hello->size());
  }
  io_loop_.load()->WatchFileDescriptor(fd, true, base::MessageLoop::WATCH_READ, &read_watcher_,
                                       this);
}

void Channel::ChannelImpl::ReadFromPeer() {
  char buffer[kReadBufferSize];
  for (;;) {
    const ssize_t count = recv(peer_fd_, buffer, sizeof(buffer), MSG_DONTWAIT);
    if (count < 0) {
      if (errno == EINTR)
        continue;
      if (IsWouldBlock(errno))
        return;
      // A reset is a peer that left with our bytes unread: a departure like any other.
      if (errno != ECONNRESET) {
        LOG_AT(logging::LOG_ERROR)
            << "channel " << channel_name_ << ": read failed: " << std::strerror(errno);
      }
      DropPeer();
      return;
    }
    if (count == 0) {
      DropPeer();  // the peer left, possibly in the middle of a message
      return;
    }
    if (!ProcessIncoming(buffer, static_cast<size_t>(count)))
      return;
    // A short read most likely emptied the socket; poll() says when there is more.
    if (static_cast<size_t>(count) < sizeof(buffer))
      return;
  }
}

bool Channel::ChannelImpl::ProcessIncoming(const char* data, size_t size) {
  size_t consumed = 0;
  if (pending_input_.empty()) {
    // The usual case: whole messages straight from the read buffer, without a copy.
    if (!DispatchMessages(data, size, &consumed))
      return false;
    pending_input_.assign(data + consumed, size - consumed);
    return true;
  }
  pending_input_.append(data, size);
  if (!DispatchMessages(pending_input_.data(), pending_input_.size(), &consumed))
    return false;
  pending_input_.erase(0, consumed);
  return true;
}

bool Channel::ChannelImpl::DispatchMessages(const char* data, size_t size, size_t* consumed) {
  const uint64_t generation = peer_generation_;
  size_t offset = 0;
  for (;;) {
    size_t message_size = 0;
    const FrameStatus status = CheckFrame(data + offset, size - offset, &message_size);
    if (status == FRAME_INCOMPLETE)
      break;
    if (status != FRAME_COMPLETE) {
      LOG_AT(logging::LOG_ERROR) << "channel " << channel_name_
                                 << " drops its peer: " << FrameStatusToString(status);
      DropPeer();
      return false;
    }
    const Message message(data + offset, static_cast<int>(message_size));
    offset += message_size;
    // The listener may close the channel, which frees |data| when it is |pending_input_|.
    if (!DispatchMessage(message) || !StillServing(generation))
      return false;
  }
  *consumed = offset;
  return true;
}

bool Channel::ChannelImpl::DispatchMessage(const Message& message) {
  if (closing_.load() || !listener_)
    return false;
  if (!IsHelloMessage(message)) {
    listener_->OnMessageReceived(message);
    return true;
  }
  int32_t pid = 0;
  if (!ReadHelloPid(message, &pid)) {
    LOG_AT(logging::LOG_ERROR) << "channel " << channel_name_
                               << " drops its peer: hello without a pid";
    DropPeer();
    return false;
  }
  if (!hello_received_) {
    hello_received_ = true;
    listener_->OnChannelConnected(pid);
  }
  return true;
}

bool Channel::ChannelImpl::StillServing(uint64_t generation) const {
  return !torn_down_ && !closing_.load() && generation == peer_generation_;
}

void Channel::ChannelImpl::FlushOutput() {
  {
    std::lock_guard<std::mutex> lock(send_lock_);
    while (!output_.empty()) {
      const ssize_t written = SendSome(peer_fd_, output_.data(), output_.size());
      if (written < 0) {
        if (IsWouldBlock(errno))
          return;  // still watching for room
        LOG_AT(logging::LOG_ERROR)
            << "channel " << channel_name_ << ": write failed: " << std::strerror(errno);
        break;
      }
      output_.erase(0, static_cast<size_t>(written));
    }
    if (output_.empty()) {
      write_watcher_.StopWatchingFileDescriptor();
      write_watch_requested_ = false;
      return;
    }
  }
  DropPeer();
}

void Channel::ChannelImpl::DropPeer() {
  read_watcher_.StopWatchingFileDescriptor();
  write_watcher_.StopWatchingFileDescriptor();
  {
    std::lock_guard<std::mutex> lock(send_lock_);
    ClosePeerLocked();
  }
  pending_input_.clear();
  hello_received_ = false;
  ++peer_generation_;
  if (listen_fd_ >= 0)
    WatchListenSocket();
  if (listener_)
    listener_->OnChannelError();
}

void Channel::ChannelImpl::ResumeListening() {
  if (!torn_down_ && listen_fd_ >= 0 && peer_fd_ < 0)
    WatchListenSocket();
}

void Channel::ChannelImpl::Teardown() {
  if (torn_down_)
    return;
  torn_down_ = true;
  closing_.store(true);
  if (observed_loop_) {
    observed_loop_->RemoveDestructionObserver(this);
    observed_loop_ = nullptr;
  }
  listen_watcher_.StopWatchingFileDescriptor();
  read_watcher_.StopWatchingFileDescriptor();
  write_watcher_.StopWatchingFileDescriptor();
  {
    std::lock_guard<std::mutex> lock(send_lock_);
    ClosePeerLocked();
  }
  pending_input_.clear();
  if (listen_fd_ >= 0) {
    close(listen_fd_);
    listen_fd_ = -1;
  }
  RemoveSocketFile();
  listener_ = nullptr;
  // The loop stops telling the channel about its destruction, so the channel must forget it
  // now: a later Close() from another thread would otherwise post to a loop that may be gone.
  std::lock_guard<std::mutex> lock(send_lock_);
  io_loop_.store(nullptr);
}

void Channel::ChannelImpl::RemoveSocketFile() {
  if (!socket_file_created_)
    return;
  socket_file_created_ = false;
  RemoveSocketFileIfUnchanged(channel_name_, socket_file_);
}

bool Channel::ChannelImpl::WriteLocked(const char* data, size_t size) {
  if (output_.empty()) {
    const ssize_t written = SendSome(peer_fd_, data, size);
    if (written < 0 && !IsWouldBlock(errno)) {
      // The reading side sees the same failure and drops the peer.
      return false;
    }
    const size_t done = written < 0 ? 0 : static_cast<size_t>(written);
    if (done == size)
      return true;
    data += done;
    size -= done;
  }
  output_.append(data, size);
  RequestWriteWatchLocked();
  return true;
}

void Channel::ChannelImpl::RequestWriteWatchLocked() {
  if (write_watch_requested_)
    return;
  write_watch_requested_ = true;
  base::MessageLoop* io_loop = io_loop_.load();
  if (!io_loop)
    return;  // the loop is gone, and the channel with it
  if (base::MessageLoop::current() == io_loop) {
    StartWriteWatchLocked();
    return;
  }
  std::shared_ptr<ChannelImpl> self = shared_from_this();
  io_loop->PostTask(FROM_HERE, [self] {
    std::lock_guard<std::mutex> lock(self->send_lock_);
    self->StartWriteWatchLocked();
  });
}

void Channel::ChannelImpl::StartWriteWatchLocked() {
  if (torn_down_ || peer_fd_ < 0 || output_.empty()) {
    write_watch_requested_ = false;
    return;
  }
  io_loop_.load()->WatchFileDescriptor(peer_fd_, true, base::MessageLoop::WATCH_WRITE,
                                       &write_watcher_, this);
}

void Channel::ChannelImpl::ClosePeerLocked() {
  if (peer_fd_ >= 0)
    close(peer_fd_);
  peer_fd_ = -1;
  output_.clear();
  write_watch_requested_ = false;
}

}  // namespace IPC
