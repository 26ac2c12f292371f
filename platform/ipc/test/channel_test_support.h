// Test helpers for channels: socket paths, a fixture with an I/O thread, a listener that
// records what it is told, a plain socket client for feeding a server arbitrary bytes, and a
// small synchronous request.

#ifndef IPC_TEST_CHANNEL_TEST_SUPPORT_H_
#define IPC_TEST_CHANNEL_TEST_SUPPORT_H_

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "base/threading/thread.h"
#include "gtest/gtest.h"
#include "ipc/ipc_channel.h"
#include "ipc/ipc_message.h"

namespace IPC {

class SyncMessage;

namespace test {

const std::chrono::milliseconds kTimeout(5000);

// The type of the requests below.
const uint32_t kDoubleRequestType = 0x7E570001;

// A fresh path "/tmp/tarn-ipc-<pid>-<n>" with nothing at it.
std::string NewSocketPath();

// A synchronous request carrying |value|, whose reply is one int that lands in |*doubled|
// (not owned). The caller owns the message.
SyncMessage* NewDoubleRequest(int value, int* doubled);

// The bytes of |message| as they travel.
std::string Serialize(const Message& message);

// The 20-byte header of a message (routing 7, type 400) that claims |payload_size| bytes of
// payload and |num_fds| descriptors.
std::string HeaderBytes(uint32_t payload_size, uint16_t num_fds = 0);

// An I/O thread and a fresh socket path for each test. What a test adds in a subclass is
// destroyed before the thread stops.
class IoThreadTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;
  // Returns once the I/O thread has finished what it was doing.
  void WaitForIoThread() {
    io_thread_.PostTaskAndWait(FROM_HERE, [] {});
  }

  base::Thread io_thread_{"test_io"};
  std::string path_;
};

// Records every callback.
class RecordingListener : public Channel::Listener {
 public:
  struct Events {
    std::vector<Message> messages;
    std::vector<int32_t> connected_pids;
    int errors = 0;
    int denied = 0;
    // Every loop a callback ran on; all the same in a correct channel.
    std::vector<base::MessageLoop*> callback_loops;
  };

  // Runs inside OnMessageReceived, after the message is recorded.
  void set_on_message(std::function<void(const Message&)> on_message) {
    on_message_ = std::move(on_message);
  }

  Events events() const;
  // Waits until |condition| holds for the recorded events; false after kTimeout.
  bool WaitFor(const std::function<bool(const Events&)>& condition) const;

  // Channel::Listener:
  bool OnMessageReceived(const Message& message) override;
  void OnChannelConnected(int32_t peer_pid) override;
  void OnChannelError() override;
  void OnChannelDenied() override;

 private:
  void Record(const std::function<void(Events*)>& change);

  std::function<void(const Message&)> on_message_;
  mutable std::mutex lock_;
  mutable std::condition_variable changed_;
  Events events_;
};

// A bare blocking socket connected to a server, for writing exactly the bytes a test wants.
// Each read gives up after kTimeout.
class RawClient {
 public:
  RawClient() = default;
  ~RawClient() { Close(); }
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  bool Connect(const std::string& path);
  bool Write(const std::string& bytes);
  // Waits until the server has read everything written so far.
  bool WaitUntilRead();
  // Reads until |size| bytes have arrived, the server closes, or a read times out.
  std::string Read(size_t size);
  // Whether the server closes the connection; bytes before that are discarded.
  bool WaitForClose();
  void Close();

 private:
  int fd_ = -1;
};

}  // namespace test
}  // namespace IPC

#endif  // IPC_TEST_CHANNEL_TEST_SUPPORT_H_
