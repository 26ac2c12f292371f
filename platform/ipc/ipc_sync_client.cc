#include "ipc/ipc_sync_client.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <thread>

#include "base/posix/unix_domain_socket.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_message_framing.h"
#include "ipc/ipc_sync_message.h"

namespace IPC {

namespace {

const size_t kReadBufferSize = 64 * 1024;

// How often a connect to a server whose listen queue is full is tried again.
const std::chrono::milliseconds kConnectRetryInterval(1);

std::string ErrnoText(const char* what) {
  return std::string(what) + ": " + std::strerror(errno);
}

}  // namespace

SyncClient::SyncClient() = default;

SyncClient::~SyncClient() {
  Close();
}

SyncClient::Result SyncClient::Connect(const std::string& path, std::chrono::milliseconds timeout) {
  Close();
  const Clock::time_point deadline = Clock::now() + timeout;
  sockaddr_un address;
  socklen_t length;
  if (!base::FillUnixAddress(path, &address, &length))
    return Fail(RESULT_CONNECT_FAILED, "invalid socket path \"" + path + "\"");

  fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  if (fd_ < 0)
    return Fail(RESULT_CONNECT_FAILED, ErrnoText("socket"));
  for (;;) {
    if (connect(fd_, reinterpret_cast<const sockaddr*>(&address), length) == 0)
      break;
    if (errno == EINTR)
      continue;
    if (errno != EAGAIN) {
      const std::string error = ErrnoText(("connect to " + path).c_str());
      Close();
      return Fail(RESULT_CONNECT_FAILED, error);
    }
    // The server's listen queue is full.
    if (Clock::now() >= deadline) {
      Close();
      return Fail(RESULT_TIMEOUT, "timed out connecting to " + path);
    }
    std::this_thread::sleep_for(kConnectRetryInterval);
  }

  std::unique_ptr<Message> hello(CreateHelloMessage(getpid()));
  Result result = WriteAll(static_cast<const char*>(hello->data()), hello->size(), deadline);
  while (result == RESULT_OK) {
    std::unique_ptr<Message> message;
    result = ReadMessage(deadline, &message);
    // The server sends its hello before anything else; nothing earlier is kept.
    if (result == RESULT_OK && IsHelloMessage(*message)) {
      if (TakeHello(*message))
        return RESULT_OK;
      result = Disconnect("the server's hello carries no pid");
    }
  }
  Close();
  return result;
}

void SyncClient::Close() {
  if (fd_ >= 0)
    close(fd_);
  fd_ = -1;
  server_pid_ = 0;
  input_.clear();
}

SyncClient::Result SyncClient::Send(SyncMessage* message, std::chrono::milliseconds timeout) {
  std::unique_ptr<SyncMessage> request(message);
  std::unique_ptr<MessageReplyDeserializer> deserializer(request->GetReplyDeserializer());
  const Clock::time_point deadline = Clock::now() + timeout;
  const int request_id = SyncMessage::GetMessageId(*request);
  Result result = WriteAll(static_cast<const char*>(request->data()), request->size(), deadline);
  while (result == RESULT_OK) {
    std::unique_ptr<Message> reply;
    result = ReadMessage(deadline, &reply);
    if (result != RESULT_OK)
      break;
    if (IsHelloMessage(*reply) || !SyncMessage::IsMessageReplyTo(*reply, request_id))
      continue;
    if (reply->is_reply_error())
      return Fail(RESULT_REPLY_ERROR, "the server answered with an error reply");
    if (deserializer && !deserializer->SerializeOutputParameters(*reply))
      return Fail(RESULT_CANNOT_DECODE, "the reply's parameters cannot be decoded");
    return RESULT_OK;
  }
  return result;
}

SyncClient::Result SyncClient::SendMessage(Message* message, std::chrono::milliseconds timeout) {
  std::unique_ptr<Message> owned(message);
  return WriteAll(static_cast<const char*>(owned->data()), owned->size(), Clock::now() + timeout);
}

SyncClient::Result SyncClient::SendRaw(const void* data,
                                       size_t size,
                                       std::chrono::milliseconds timeout) {
  return WriteAll(static_cast<const char*>(data), size, Clock::now() + timeout);
}

SyncClient::Result SyncClient::ReceiveMessage(std::chrono::milliseconds timeout,
                                              std::unique_ptr<Message>* message) {
  const Clock::time_point deadline = Clock::now() + timeout;
  for (;;) {
    const Result result = ReadMessage(deadline, message);
    if (result != RESULT_OK || !IsHelloMessage(**message))
      return result;
    TakeHello(**message);
  }
}

// static
const char* SyncClient::ResultToString(Result result) {
  switch (result) {
    case RESULT_OK:
      return "ok";
    case RESULT_TIMEOUT:
      return "timeout";
    case RESULT_DISCONNECTED:
      return "disconnected";
    case RESULT_REPLY_ERROR:
      return "reply error";
    case RESULT_CANNOT_DECODE:
      return "cannot decode";
    case RESULT_CONNECT_FAILED:
      return "connect failed";
  }
  return "unknown";
}

SyncClient::Result SyncClient::Fail(Result result, const std::string& error) {
  error_ = error;
  return result;
}

SyncClient::Result SyncClient::Disconnect(const std::string& error) {
  Close();
  return Fail(RESULT_DISCONNECTED, error);
}

SyncClient::Result SyncClient::WriteAll(const char* data, size_t size, Clock::time_point deadline) {
  if (fd_ < 0)
    return Fail(RESULT_DISCONNECTED, "not connected");
  size_t written = 0;
  while (written < size) {
    const ssize_t count = send(fd_, data + written, size - written, MSG_NOSIGNAL);
    if (count >= 0) {
      written += static_cast<size_t>(count);
      continue;
    }
    if (errno == EINTR)
      continue;
    if (errno != EAGAIN && errno != EWOULDBLOCK)
      return Disconnect(ErrnoText("send"));
    const Result ready = WaitUntilReady(POLLOUT, deadline);
    if (ready != RESULT_OK) {
      // Half a message would garble everything sent after it.
      if (written > 0)
        Close();
      return ready;
    }
  }
  return RESULT_OK;
}

SyncClient::Result SyncClient::ReadMessage(Clock::time_point deadline,
                                           std::unique_ptr<Message>* message) {
  if (fd_ < 0)
    return Fail(RESULT_DISCONNECTED, "not connected");
  for (;;) {
    size_t message_size = 0;
    const FrameStatus status = CheckFrame(input_.data(), input_.size(), &message_size);
    if (status == FRAME_COMPLETE) {
      message->reset(new Message(input_.data(), static_cast<int>(message_size)));
      input_.erase(0, message_size);
      return RESULT_OK;
    }
    if (status != FRAME_INCOMPLETE)
      return Disconnect(std::string("the server sent a malformed message: ") +
                        FrameStatusToString(status));
    const Result ready = WaitUntilReady(POLLIN, deadline);
    if (ready != RESULT_OK)
      return ready;
    char buffer[kReadBufferSize];
    const ssize_t count = recv(fd_, buffer, sizeof(buffer), 0);
    if (count == 0)
      return Disconnect("the server closed the connection");
    if (count < 0) {
      if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK)
        continue;
      return Disconnect(ErrnoText("recv"));
    }
    input_.append(buffer, static_cast<size_t>(count));
  }
}

SyncClient::Result SyncClient::WaitUntilReady(short events, Clock::time_point deadline) {
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    // Even with no time left, a descriptor that is ready now counts.
    const int timeout_ms =
        left.count() <= 0 ? 0 : static_cast<int>(std::min<int64_t>(left.count(), INT_MAX));
    pollfd poll_fd = {fd_, events, 0};
    const int ready = poll(&poll_fd, 1, timeout_ms);
    if (ready > 0)
      return RESULT_OK;
    if (ready == 0)
      return Fail(RESULT_TIMEOUT, "timed out waiting for the server");
    if (errno != EINTR)
      return Disconnect(ErrnoText("poll"));
  }
}

bool SyncClient::TakeHello(const Message& hello) {
  int32_t pid = 0;
  if (!ReadHelloPid(hello, &pid))
    return false;
  server_pid_ = pid;
  return true;
}

}  // namespace IPC
