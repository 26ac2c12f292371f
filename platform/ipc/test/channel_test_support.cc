#include "ipc/test/channel_test_support.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <thread>

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

bool PathExists(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) == 0;
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

void IoThreadTest::SetUp() {
  ASSERT_TRUE(io_thread_.Start());
  path_ = NewSocketPath();
}

void IoThreadTest::TearDown() {
  unlink(path_.c_str());
}

RecordingListener::RecordingListener() = default;

RecordingListener::~RecordingListener() = default;

RecordingListener::Events RecordingListener::events() const {
  std::lock_guard<std::mutex> lock(lock_);
  return events_;
}

bool RecordingListener::WaitFor(const std::function<bool(const Events&)>& condition) const {
  std::unique_lock<std::mutex> lock(lock_);
  return changed_.wait_for(lock, kTimeout, [&] { return condition(events_); });
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

void RecordingListener::Record(const std::function<void(Events*)>& change) {
  std::lock_guard<std::mutex> lock(lock_);
  change(&events_);
  events_.callback_loops.push_back(base::MessageLoop::current());
  changed_.notify_all();
}

bool RawClient::Connect(const std::string& path) {
  Close();
  fd_ = base::ConnectUnixSocket(path);
  return fd_ >= 0 && fcntl(fd_, F_SETFL, 0) == 0;
}

bool RawClient::Write(const std::string& bytes) {
  size_t written = 0;
  while (written < bytes.size()) {
    const ssize_t count = send(fd_, bytes.data() + written, bytes.size() - written, MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR)
      return false;
    written += count > 0 ? static_cast<size_t>(count) : 0;
  }
  return true;
}

bool RawClient::WaitUntilRead() {
  // What a Unix socket has sent counts against the sender until the receiver has read it.
  const auto deadline = std::chrono::steady_clock::now() + kTimeout;
  int unread = 0;
  while (ioctl(fd_, SIOCOUTQ, &unread) == 0 && unread > 0 &&
         std::chrono::steady_clock::now() < deadline) {
    std::this_thread::yield();
  }
  return unread == 0;
}

bool RawClient::ReadSome(size_t size,
                         std::chrono::steady_clock::time_point deadline,
                         std::string* bytes) {
  bytes->clear();
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    pollfd poll_fd = {fd_, POLLIN, 0};
    if (left.count() <= 0 || poll(&poll_fd, 1, static_cast<int>(left.count())) <= 0)
      return false;
    bytes->resize(size);
    const ssize_t count = recv(fd_, &(*bytes)[0], size, 0);
    if (count < 0 && errno == EINTR)
      continue;
    bytes->resize(count > 0 ? static_cast<size_t>(count) : 0);
    return count >= 0 || errno == ECONNRESET;
  }
}

std::string RawClient::Read(size_t size) {
  const auto deadline = std::chrono::steady_clock::now() + kTimeout;
  std::string bytes;
  std::string more;
  while (bytes.size() < size && ReadSome(size - bytes.size(), deadline, &more) && !more.empty())
    bytes += more;
  return bytes;
}

bool RawClient::WaitForClose() {
  const auto deadline = std::chrono::steady_clock::now() + kTimeout;
  std::string more;
  while (ReadSome(4096, deadline, &more)) {
    if (more.empty())
      return true;
  }
  return false;
}

void RawClient::Close() {
  if (fd_ >= 0)
    close(fd_);
  fd_ = -1;
}

}  // namespace test
}  // namespace IPC
