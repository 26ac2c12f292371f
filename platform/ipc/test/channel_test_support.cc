#include "ipc/test/channel_test_support.h"

#include <errno.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>

#include "base/message_loop/message_loop.h"
#include "base/posix/unix_domain_socket.h"
#include "base/tuple.h"
#include "ipc/ipc_message_utils.h"
#include "ipc/ipc_sync_message.h"

namespace IPC {
namespace test {

std::string NewSocketPath() {
  static std::atomic<int> counter{0};
  const std::string path =
      "/tmp/tarn-ipc-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
  unlink(path.c_str());
  return path;
}

SyncMessage* NewDoubleRequest(int value, int* doubled) {
  SyncMessage* request =
      new SyncMessage(1, kDoubleRequestType, Message::PRIORITY_NORMAL,
                      new ParamDeserializer<Tuple1<int&>>(MakeRefTuple(*doubled)));
  request->WriteInt(value);
  return request;
}

std::string Serialize(const Message& message) {
  return std::string(static_cast<const char*>(message.data()), message.size());
}

std::string HeaderBytes(uint32_t payload_size,
                        int32_t routing,
                        uint32_t type,
                        uint32_t flags,
                        uint16_t num_fds) {
  std::string bytes;
  auto put = [&bytes](uint32_t value, int size) {
    for (int i = 0; i < size; ++i)
      bytes.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  };
  put(payload_size, 4);
  put(static_cast<uint32_t>(routing), 4);
  put(type, 4);
  put(flags, 4);
  put(num_fds, 2);
  put(0, 2);
  return bytes;
}

RecordingListener::RecordingListener() = default;

RecordingListener::~RecordingListener() = default;

RecordingListener::Events RecordingListener::events() const {
  std::lock_guard<std::mutex> lock(lock_);
  return events_;
}

bool RecordingListener::WaitFor(const std::function<bool(const Events&)>& condition,
                                std::chrono::milliseconds timeout) const {
  std::unique_lock<std::mutex> lock(lock_);
  return changed_.wait_for(lock, timeout, [&] { return condition(events_); });
}

bool RecordingListener::OnMessageReceived(const Message& message) {
  Record([&message](Events* events) { events->messages.push_back(message); });
  if (answer_requests_ && message.is_sync() && message.type() == kDoubleRequestType) {
    PickleIterator iter = SyncMessage::GetDataIterator(&message);
    int value = 0;
    Message* reply = SyncMessage::GenerateReply(&message);
    if (iter.ReadInt(&value))
      reply->WriteInt(2 * value);
    else
      reply->set_reply_error();
    channel_->Send(reply);
  }
  if (on_message_)
    on_message_(message);
  return true;
}

void RecordingListener::OnChannelConnected(int32_t peer_pid) {
  Record([peer_pid](Events* events) { events->connected_pids.push_back(peer_pid); });
}

void RecordingListener::OnChannelError() {
  Record([](Events* events) { ++events->errors; });
}

void RecordingListener::OnChannelDenied() {
  Record([](Events* events) { ++events->denied; });
}

void RecordingListener::OnChannelListenError() {
  Record([](Events* events) { ++events->listen_errors; });
}

void RecordingListener::Record(const std::function<void(Events*)>& change) {
  std::lock_guard<std::mutex> lock(lock_);
  change(&events_);
  events_.callback_loops.push_back(base::MessageLoop::current());
  changed_.notify_all();
}

RawClient::RawClient() = default;

RawClient::~RawClient() {
  Close();
}

bool RawClient::Connect(const std::string& path) {
  Close();
  sockaddr_un address;
  socklen_t length;
  if (!base::FillUnixAddress(path, &address, &length))
    return false;
  fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd_ < 0)
    return false;
  if (connect(fd_, reinterpret_cast<const sockaddr*>(&address), length) != 0) {
    Close();
    return false;
  }
  return true;
}

bool RawClient::Write(const std::string& bytes) {
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = send(fd_, bytes.data() + written, bytes.size() - written, MSG_NOSIGNAL);
    if (count < 0 && errno == EINTR)
      continue;
    if (count < 0)
      return false;
    written += static_cast<size_t>(count);
  }
  return true;
}

std::string RawClient::Read(size_t size, std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  std::string bytes;
  while (bytes.size() < size) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd poll_fd = {fd_, POLLIN, 0};
    if (left.count() <= 0 || poll(&poll_fd, 1, static_cast<int>(left.count())) <= 0)
      break;
    char buffer[4096];
    const ssize_t count = recv(fd_, buffer, std::min(sizeof(buffer), size - bytes.size()), 0);
    if (count <= 0)
      break;
    bytes.append(buffer, static_cast<size_t>(count));
  }
  return bytes;
}

bool RawClient::WaitForClose(std::chrono::milliseconds timeout) {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd poll_fd = {fd_, POLLIN, 0};
    if (left.count() <= 0 || poll(&poll_fd, 1, static_cast<int>(left.count())) <= 0)
      return false;
    char buffer[4096];
    const ssize_t count = recv(fd_, buffer, sizeof(buffer), 0);
    if (count == 0 || (count < 0 && errno == ECONNRESET))
      return true;
    if (count < 0 && errno != EINTR)
      return false;
  }
}

void RawClient::Close() {
  if (fd_ >= 0)
    close(fd_);
  fd_ = -1;
}

}  // namespace test
}  // namespace IPC
