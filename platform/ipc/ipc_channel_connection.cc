#include "ipc/ipc_channel_connection.h"

#include <errno.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <utility>

#include "base/location.h"
#include "base/logging.h"
#include "base/message_loop/run_on_loop.h"
#include "base/posix/unix_domain_socket.h"
#include "ipc/ipc_message_framing.h"

namespace IPC {

namespace {

// Bytes read from the socket in one go.
const size_t kReadBufferSize = 64 * 1024;

// Reads resume once the output queue has drained to this.
const size_t kReadResumeBytes = Channel::kReadPauseBytes / 2;

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

ChannelConnection::ChannelConnection(const std::string& name, Channel::Listener* listener)
    : name_(name), listener_(listener) {}

ChannelConnection::~ChannelConnection() {
  // Close() has torn everything down unless the connection never started.
  if (fd_ >= 0)
    close(fd_);
}

bool ChannelConnection::Connect(base::MessageLoop* io_loop) {
  if (!io_loop || io_loop_.load() || closing_.load())
    return false;
  const int fd = base::ConnectUnixSocket(name_);
  if (fd < 0) {
    LOG_AT(logging::LOG_ERROR) << "cannot connect to " << name_ << ": " << std::strerror(errno);
    return false;
  }
  io_loop_.store(io_loop);
  SendHello(fd);
  if (base::MessageLoop::current() == io_loop) {
    Start();
    return true;
  }
  std::shared_ptr<ChannelConnection> self = shared_from_this();
  if (!io_loop->PostTask(FROM_HERE, [self] { self->Start(); })) {
    Teardown();
    return false;
  }
  return true;
}

bool ChannelConnection::Serve(int fd, base::MessageLoop* io_loop) {
  if (io_loop_.load() || closing_.load()) {
    close(fd);
    return false;
  }
  io_loop_.store(io_loop);
  SendHello(fd);
  Start();
  return !torn_down_;
}

void ChannelConnection::Close() {
  closing_.store(true);
  std::shared_ptr<ChannelConnection> self = shared_from_this();
  base::RunOnLoopAndWait(&send_lock_, &io_loop_, [self] { self->Teardown(); });
}

bool ChannelConnection::Send(Message* message) {
  std::unique_ptr<Message> owned(message);
  if (closing_.load())
    return false;
  if (owned->size() > Channel::kMaximumMessageSize) {
    LOG_AT(logging::LOG_ERROR) << "channel " << name_ << ": not sending a message of "
                               << owned->size() << " bytes, more than the maximum";
    return false;
  }
  std::lock_guard<std::mutex> lock(send_lock_);
  if (fd_ < 0)
    return false;
  if (output_.size() + owned->size() > Channel::kMaximumQueuedBytes) {
    LOG_AT(logging::LOG_ERROR) << "channel " << name_
                               << " drops a peer that does not read: " << output_.size()
                               << " bytes wait for it";
    shutdown(fd_, SHUT_RDWR);
    output_.clear();
    // Dropped on the I/O thread, which may be reading nothing from this peer just now.
    std::shared_ptr<ChannelConnection> self = shared_from_this();
    if (base::MessageLoop* io_loop = io_loop_.load())
      io_loop->PostTask(FROM_HERE, [self] { self->DropPeer(); });
    return false;
  }
  return WriteLocked(static_cast<const char*>(owned->data()), owned->size());
}

void ChannelConnection::OnFileCanReadWithoutBlocking(int fd) {
  // A listener callback may close or destroy the connection's owner; this keeps the state
  // alive until the handler has unwound.
  std::shared_ptr<ChannelConnection> self = shared_from_this();
  ReadFromPeer();
}

void ChannelConnection::OnFileCanWriteWithoutBlocking(int fd) {
  std::shared_ptr<ChannelConnection> self = shared_from_this();
  FlushOutput();
}

void ChannelConnection::WillDestroyCurrentMessageLoop() {
  observed_loop_ = nullptr;  // the loop forgets its observers itself
  listener_ = nullptr;
  Teardown();
}

void ChannelConnection::SendHello(int fd) {
  std::unique_ptr<Message> hello(CreateHelloMessage(getpid()));
  std::lock_guard<std::mutex> lock(send_lock_);
  fd_ = fd;
  connected_.store(true);
  WriteLocked(static_cast<const char*>(hello->data()), hello->size());
}

void ChannelConnection::Start() {
  if (torn_down_)
    return;
  base::MessageLoop* io_loop = io_loop_.load();
  if (!io_loop->AddDestructionObserver(this)) {
    // The loop is being destroyed and will never call the connection.
    WillDestroyCurrentMessageLoop();
    return;
  }
  observed_loop_ = io_loop;
  io_loop->WatchFileDescriptor(fd_, true, base::MessageLoop::WATCH_READ, &read_watcher_, this);
}

void ChannelConnection::ReadFromPeer() {
  char buffer[kReadBufferSize];
  while (IsOpen() && !reading_paused_) {
    const ssize_t count = recv(fd_, buffer, sizeof(buffer), MSG_DONTWAIT);
    if (count < 0) {
      if (errno == EINTR)
        continue;
      if (IsWouldBlock(errno))
        return;
      // A reset is a peer that left with our bytes unread: a departure like any other.
      if (errno != ECONNRESET) {
        LOG_AT(logging::LOG_ERROR)
            << "channel " << name_ << ": read failed: " << std::strerror(errno);
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

bool ChannelConnection::ProcessIncoming(const char* data, size_t size) {
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

bool ChannelConnection::DispatchMessages(const char* data, size_t size, size_t* consumed) {
  size_t offset = 0;
  for (;;) {
    if (QueueOverPauseMark()) {
      // The peer does not read what it asked for: leave the rest unread until it does.
      reading_paused_ = true;
      read_watcher_.StopWatchingFileDescriptor();
      break;
    }
    size_t message_size = 0;
    const FrameStatus status = CheckFrame(data + offset, size - offset, &message_size);
    if (status == FRAME_INCOMPLETE)
      break;
    if (status != FRAME_COMPLETE) {
      LOG_AT(logging::LOG_ERROR) << "channel " << name_
                                 << " drops its peer: " << FrameStatusToString(status);
      DropPeer();
      return false;
    }
    const Message message(data + offset, static_cast<int>(message_size));
    offset += message_size;
    // The listener may close the connection, which frees |data| when it is |pending_input_|.
    if (!DispatchMessage(message) || !IsOpen())
      return false;
  }
  *consumed = offset;
  return true;
}

bool ChannelConnection::DispatchMessage(const Message& message) {
  if (!listener_)
    return false;
  if (!IsHelloMessage(message)) {
    listener_->OnMessageReceived(message);
    return true;
  }
  int32_t pid = 0;
  if (!ReadHelloPid(message, &pid)) {
    LOG_AT(logging::LOG_ERROR) << "channel " << name_ << " drops its peer: hello without a pid";
    DropPeer();
    return false;
  }
  if (peer_pid_ < 0) {
    peer_pid_ = pid;
    listener_->OnChannelConnected(pid);
  }
  return true;
}

void ChannelConnection::ResumeReading() {
  reading_paused_ = false;
  size_t consumed = 0;
  // Dispatching may pause the reads again, or end the connection.
  std::string input;
  input.swap(pending_input_);
  if (!DispatchMessages(input.data(), input.size(), &consumed))
    return;
  pending_input_.assign(input, consumed, std::string::npos);
  if (!reading_paused_) {
    io_loop_.load()->WatchFileDescriptor(fd_, true, base::MessageLoop::WATCH_READ, &read_watcher_,
                                         this);
  }
}

void ChannelConnection::FlushOutput() {
  bool failed = false;
  size_t left = 0;
  {
    std::lock_guard<std::mutex> lock(send_lock_);
    while (!output_.empty()) {
      const ssize_t written = SendSome(fd_, output_.data(), output_.size());
      if (written < 0) {
        if (!IsWouldBlock(errno)) {
          LOG_AT(logging::LOG_ERROR)
              << "channel " << name_ << ": write failed: " << std::strerror(errno);
          failed = true;
        }
        break;
      }
      output_.erase(0, static_cast<size_t>(written));
    }
    if (output_.empty()) {
      write_watcher_.StopWatchingFileDescriptor();
      write_watch_requested_ = false;
    }
    left = output_.size();
  }
  if (failed) {
    DropPeer();
    return;
  }
  if (reading_paused_ && left <= kReadResumeBytes)
    ResumeReading();
}

void ChannelConnection::DropPeer() {
  Channel::Listener* listener = listener_;
  Teardown();
  if (listener)
    listener->OnChannelError();
}

void ChannelConnection::Teardown() {
  if (torn_down_)
    return;
  torn_down_ = true;
  closing_.store(true);
  connected_.store(false);
  if (observed_loop_) {
    observed_loop_->RemoveDestructionObserver(this);
    observed_loop_ = nullptr;
  }
  read_watcher_.StopWatchingFileDescriptor();
  write_watcher_.StopWatchingFileDescriptor();
  pending_input_.clear();
  listener_ = nullptr;
  // The loop stops telling the connection about its destruction, so the connection must
  // forget it now: a later Close() from another thread would otherwise post to a loop that
  // may be gone.
  std::lock_guard<std::mutex> lock(send_lock_);
  CloseSocketLocked();
  io_loop_.store(nullptr);
}

bool ChannelConnection::QueueOverPauseMark() {
  std::lock_guard<std::mutex> lock(send_lock_);
  return output_.size() > Channel::kReadPauseBytes;
}

bool ChannelConnection::WriteLocked(const char* data, size_t size) {
  if (output_.empty()) {
    const ssize_t written = SendSome(fd_, data, size);
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

void ChannelConnection::RequestWriteWatchLocked() {
  if (write_watch_requested_)
    return;
  write_watch_requested_ = true;
  base::MessageLoop* io_loop = io_loop_.load();
  if (!io_loop)
    return;  // the loop is gone, and the connection with it
  if (base::MessageLoop::current() == io_loop) {
    StartWriteWatchLocked();
    return;
  }
  std::shared_ptr<ChannelConnection> self = shared_from_this();
  io_loop->PostTask(FROM_HERE, [self] {
    std::lock_guard<std::mutex> lock(self->send_lock_);
    self->StartWriteWatchLocked();
  });
}

void ChannelConnection::StartWriteWatchLocked() {
  if (torn_down_ || fd_ < 0 || output_.empty()) {
    write_watch_requested_ = false;
    return;
  }
  io_loop_.load()->WatchFileDescriptor(fd_, true, base::MessageLoop::WATCH_WRITE, &write_watcher_,
                                       this);
}

void ChannelConnection::CloseSocketLocked() {
  if (fd_ >= 0)
    close(fd_);
  fd_ = -1;
  output_.clear();
  write_watch_requested_ = false;
}

}  // namespace IPC
