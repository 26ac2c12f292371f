// Test helpers for channels: socket paths, a listener that records what it is told, a plain
// socket client for feeding a server arbitrary bytes, and a small synchronous request.

#ifndef IPC_TEST_CHANNEL_TEST_SUPPORT_H_
#define IPC_TEST_CHANNEL_TEST_SUPPORT_H_

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "ipc/ipc_channel.h"
#include "ipc/ipc_message.h"

namespace base {
class MessageLoop;
}

namespace IPC {

class SyncMessage;

namespace test {

// A synchronous request whose reply doubles its int.
const uint32_t kDoubleRequestType = 0x7E570001;

// A fresh path "/tmp/tarn-ipc-<pid>-<n>" with nothing at it.
std::string NewSocketPath();

// A request for twice |value|; the reply lands in |*doubled| (not owned). The caller owns
// the message.
SyncMessage* NewDoubleRequest(int value, int* doubled);

// The bytes of |message| as they travel.
std::string Serialize(const Message& message);

// A 20-byte header as it travels.
std::string HeaderBytes(uint32_t payload_size,
                        int32_t routing,
                        uint32_t type,
                        uint32_t flags,
                        uint16_t num_fds);

// Records every callback. Optionally answers kDoubleRequestType requests on the I/O thread,
// through the channel given to set_channel().
class RecordingListener : public Channel::Listener {
 public:
  struct Events {
    std::vector<Message> messages;
    std::vector<int32_t> connected_pids;
    int errors = 0;
    int denied = 0;
    int listen_errors = 0;
    // Every loop a callback ran on; all the same in a correct channel.
    std::vector<base::MessageLoop*> callback_loops;
  };

  RecordingListener();
  ~RecordingListener() override;

  // |channel| is not owned; replies go through it.
  void set_channel(Channel* channel) { channel_ = channel; }
  void set_answer_requests(bool answer) { answer_requests_ = answer; }
  // Runs inside OnMessageReceived, after the message is recorded.
  void set_on_message(std::function<void(const Message&)> on_message) {
    on_message_ = std::move(on_message);
  }

  Events events() const;
  // Waits until |condition| holds for the recorded events; false after |timeout|.
  bool WaitFor(const std::function<bool(const Events&)>& condition,
               std::chrono::milliseconds timeout = std::chrono::seconds(5)) const;

  // Channel::Listener:
  bool OnMessageReceived(const Message& message) override;
  void OnChannelConnected(int32_t peer_pid) override;
  void OnChannelError() override;
  void OnChannelDenied() override;
  void OnChannelListenError() override;

 private:
  void Record(const std::function<void(Events*)>& change);

  Channel* channel_ = nullptr;  // not owned
  bool answer_requests_ = false;
  std::function<void(const Message&)> on_message_;
  mutable std::mutex lock_;
  mutable std::condition_variable changed_;
  Events events_;
};

// A bare socket connected to a server, for writing exactly the bytes a test wants.
class RawClient {
 public:
  RawClient();
  ~RawClient();
  RawClient(const RawClient&) = delete;
  RawClient& operator=(const RawClient&) = delete;

  bool Connect(const std::string& path);
  bool Write(const std::string& bytes);
  // Reads until |size| bytes have arrived, the server closes, or |timeout| passes.
  std::string Read(size_t size, std::chrono::milliseconds timeout = std::chrono::seconds(5));
  // Whether the server closes the connection within |timeout|; bytes before that are
  // discarded.
  bool WaitForClose(std::chrono::milliseconds timeout = std::chrono::seconds(5));
  void Close();
  int fd() const { return fd_; }

 private:
  int fd_ = -1;
};

}  // namespace test
}  // namespace IPC

#endif  // IPC_TEST_CHANNEL_TEST_SUPPORT_H_
