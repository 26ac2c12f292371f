#include "tvapp/instance_server.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>

#include "base/logging.h"
#include "base/posix/unix_domain_socket.h"
#include "tvapp/message_handler.h"
#include "tvapp/unix_socket.h"
#include "tvapp/wire_format.h"

namespace ORVELL0300 {

namespace {

// How long a reply may take to leave when the client does not read.
const std::chrono::milliseconds kReplyWriteLimit(1000);

std::string ErrorText(const std::string& what, const std::string& path) {
  return what + " " + path + ": " + std::strerror(errno);
}

}  // namespace

struct CInstanceServer::Connection {
  int fd = -1;
  wire::FrameReader reader;
};

CInstanceServer::CInstanceServer(CMessageHandler* handler) : handler_(handler) {}

CInstanceServer::~CInstanceServer() {
  Stop();
}

bool CInstanceServer::Start(const std::string& socket_path, std::string* error) {
  if (thread_.joinable()) {
    *error = "the server already runs";
    return false;
  }
  if (pipe2(wake_fds_, O_CLOEXEC | O_NONBLOCK) != 0) {
    *error = ErrorText("cannot make a pipe for", socket_path);
    return false;
  }
  if (!Listen(socket_path, error)) {
    internal::CloseFd(&wake_fds_[0]);
    internal::CloseFd(&wake_fds_[1]);
    return false;
  }
  socket_path_ = socket_path;
  thread_ = std::thread(&CInstanceServer::Run, this);
  return true;
}

bool CInstanceServer::Listen(const std::string& socket_path, std::string* error) {
  listen_fd_ = base::CreateListeningSocket(socket_path, &socket_file_, error);
  return listen_fd_ >= 0;
}

void CInstanceServer::Stop() {
  if (!thread_.joinable())
    return;
  const char byte = 0;
  while (write(wake_fds_[1], &byte, 1) < 0 && errno == EINTR) {
  }
  thread_.join();
  for (auto& connection : connections_)
    internal::CloseFd(&connection->fd);
  connections_.clear();
  base::CloseListeningSocket(listen_fd_, socket_path_, socket_file_);
  listen_fd_ = -1;
  internal::CloseFd(&wake_fds_[0]);
  internal::CloseFd(&wake_fds_[1]);
  socket_path_.clear();
}

void CInstanceServer::Run() {
  for (;;) {
    std::vector<pollfd> fds;
    fds.push_back(pollfd{wake_fds_[0], POLLIN, 0});
    fds.push_back(pollfd{listen_fd_, POLLIN, 0});
    for (const auto& connection : connections_)
      fds.push_back(pollfd{connection->fd, POLLIN, 0});
    if (poll(fds.data(), fds.size(), -1) < 0) {
      if (errno == EINTR)
        continue;
      LOG_AT(logging::LOG_ERROR) << "tvapp: poll failed: " << std::strerror(errno);
      return;
    }
    if (fds[0].revents != 0)
      return;
    // Serve the connections that were polled before accepting new ones, so the indices
    // stay in step with |fds|.
    for (size_t i = fds.size() - 1; i >= 2; --i) {
      if (fds[i].revents == 0)
        continue;
      Connection* connection = connections_[i - 2].get();
      if (!ServeConnection(connection)) {
        internal::CloseFd(&connection->fd);
        connections_.erase(connections_.begin() + static_cast<long>(i - 2));
      }
    }
    if (fds[1].revents != 0)
      AcceptConnection();
  }
}

void CInstanceServer::AcceptConnection() {
  int fd = -1;
  if (base::AcceptConnection(listen_fd_, socket_path_, &fd) != base::ACCEPT_OK)
    return;
  if (!base::IsPeerUid(fd, geteuid())) {
    LOG_AT(logging::LOG_WARNING) << "tvapp: refused a peer with another user id on "
                                 << socket_path_;
    internal::CloseFd(&fd);
    return;
  }
  if (connections_.size() >= kMaxConnections) {
    LOG_AT(logging::LOG_WARNING) << "tvapp: too many connections on " << socket_path_;
    internal::CloseFd(&fd);
    return;
  }
  auto connection = std::make_unique<Connection>();
  connection->fd = fd;
  connections_.push_back(std::move(connection));
}

bool CInstanceServer::ServeConnection(Connection* connection) {
  char buffer[4096];
  const ssize_t count = read(connection->fd, buffer, sizeof(buffer));
  if (count < 0)
    return errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK;
  if (count == 0)
    return false;
  connection->reader.Append(buffer, static_cast<size_t>(count));
  for (;;) {
    wire::Frame frame;
    const wire::FrameReader::Result result = connection->reader.Next(&frame);
    if (result == wire::FrameReader::kNeedMore)
      return true;
    if (result == wire::FrameReader::kMalformed || frame.kind != wire::kRequestFrame) {
      LOG_AT(logging::LOG_WARNING) << "tvapp: malformed request on " << socket_path_;
      return false;
    }
    // The sender has given up on a late request and been told it failed: it is neither
    // carried out nor answered.
    const auto deadline = wire::FromMonotonicNanoseconds(frame.deadline_ns);
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline) {
      LOG_AT(logging::LOG_WARNING)
          << "tvapp: request " << frame.request_id << " on " << socket_path_ << " dropped, "
          << std::chrono::duration_cast<std::chrono::milliseconds>(now - deadline).count()
          << " ms past its deadline";
      continue;
    }
    wire::Frame reply;
    reply.kind = wire::kReplyFrame;
    reply.request_id = frame.request_id;
    reply.message_type = frame.message_type;
    if (!handler_->OnMessage(frame.message_type, frame.message, deadline, &reply.message))
      continue;
    std::string bytes;
    if (!wire::EncodeFrame(reply, &bytes)) {
      LOG_AT(logging::LOG_WARNING) << "tvapp: reply cannot be encoded on " << socket_path_;
      continue;
    }
    if (!internal::WriteAll(connection->fd, bytes,
                            std::chrono::steady_clock::now() + kReplyWriteLimit)) {
      return false;
    }
  }
}

}  // namespace ORVELL0300
