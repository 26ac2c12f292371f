#include "ipc/test/channel_test_support.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
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

std::string HeaderBytes(uint32_t payload_size, uint16_t num_fds) {
  std::string bytes = Serialize(Message(7, 400, Message::PRIORITY_NORMAL));
  std::memcpy(&bytes[0], &payload_size, sizeof(payload_size));
  std::memcpy(&bytes[16], &num_fds, sizeof(num_fds));
  return bytes;
}

void IoThreadTest::SetUp() {
  ASSERT_TRUE(io_thread_.Start());
  path_ = NewSocketPath();
}

void IoThreadTest::TearDown() {
  unlink(path_.c_str());
}

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
  const timeval timeout = {static_cast<time_t>(kTimeout.count() / 1000), 0};
  return fd_ >= 0 && fcntl(fd_, F_SETFL, 0) == 0 &&
         setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof(timeout)) == 0;
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

std::string RawClient::Read(size_t size) {
  std::string bytes(size, '\0');
  size_t got = 0;
  while (got < size) {
    const ssize_t count = recv(fd_, &bytes[got], size - got, 0);
    if (count == 0 || (count < 0 && errno != EINTR))
      break;
    got += count > 0 ? static_cast<size_t>(count) : 0;
  }
  bytes.resize(got);
  return bytes;
}

bool RawClient::WaitForClose() {
  char buffer[4096];
  for (;;) {
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
