// A blocking client of a named channel server, for tools and tests: no threads and no
// event loop, every wait bounded by a time limit.
//
//   IPC::SyncClient client;
//   if (client.Connect("/tmp/link", std::chrono::seconds(2)) != IPC::SyncClient::RESULT_OK)
//     ...
//   bool ok = false;
//   IPC::SyncClient::Result result =
//       client.Send(new SomeSyncMessage(arg, &ok), std::chrono::seconds(2));
//   if (result != IPC::SyncClient::RESULT_OK)
//     std::cerr << client.error() << "\n";
//
// The client uses the channel's framing: it answers the server's hello with its own and
// refuses messages over Channel::kMaximumMessageSize or with descriptors. A failure that
// leaves the connection unusable (the server left, a malformed message arrived, a message
// was only partly written when time ran out) closes it; later calls then report
// RESULT_DISCONNECTED until Connect() is called again.
//
// Not thread-safe: one thread uses a client at a time.

#ifndef IPC_IPC_SYNC_CLIENT_H_
#define IPC_IPC_SYNC_CLIENT_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace IPC {

class Message;
class SyncMessage;

class SyncClient {
 public:
  enum Result {
    RESULT_OK = 0,
    RESULT_TIMEOUT,         // the time limit passed first
    RESULT_DISCONNECTED,    // no connection, or it broke
    RESULT_REPLY_ERROR,     // the server answered with an error reply
    RESULT_CANNOT_DECODE,   // the reply's parameters could not be read
    RESULT_CONNECT_FAILED,  // no server at the path, or it refused the connection
  };

  SyncClient();
  ~SyncClient();
  SyncClient(const SyncClient&) = delete;
  SyncClient& operator=(const SyncClient&) = delete;

  // Connects to the server listening at |path| and waits for its hello. A server that is busy
  // with another peer answers only once that peer has left, which may be after |timeout|.
  Result Connect(const std::string& path, std::chrono::milliseconds timeout);

  void Close();
  bool is_connected() const { return fd_ >= 0; }

  // The pid the server's hello carried.
  int32_t server_pid() const { return server_pid_; }

  // Sends |message| (takes ownership), waits for the reply that carries its message id, and
  // fills the message's out-variables through its reply deserializer. Replies to other
  // requests (e.g. ones that timed out earlier), hellos and messages that are not replies are
  // skipped. |timeout| bounds the whole exchange.
  Result Send(SyncMessage* message, std::chrono::milliseconds timeout);

  // Sends |message| (takes ownership) without waiting for any answer.
  Result SendMessage(Message* message, std::chrono::milliseconds timeout);

  // Sends |size| bytes as they are, for tests of what a server does with malformed input.
  Result SendRaw(const void* data, size_t size, std::chrono::milliseconds timeout);

  // Waits for the next message that is not a hello.
  Result ReceiveMessage(std::chrono::milliseconds timeout, std::unique_ptr<Message>* message);

  // What went wrong in the last call that did not return RESULT_OK.
  const std::string& error() const { return error_; }

  static const char* ResultToString(Result result);

 private:
  typedef std::chrono::steady_clock Clock;

  Result Fail(Result result, const std::string& error);
  // Closes the connection and fails with RESULT_DISCONNECTED.
  Result Disconnect(const std::string& error);
  Result WriteAll(const char* data, size_t size, Clock::time_point deadline);
  // The next whole message, hellos included.
  Result ReadMessage(Clock::time_point deadline, std::unique_ptr<Message>* message);
  // Waits until the socket is ready for |events| (poll(2) flags) or the deadline passes.
  Result WaitUntilReady(short events, Clock::time_point deadline);
  // Records the pid of a hello; false when it carries none.
  bool TakeHello(const Message& hello);

  int fd_ = -1;
  int32_t server_pid_ = 0;
  std::string input_;  // received bytes not yet taken as messages
  std::string error_;
};

}  // namespace IPC

#endif  // IPC_IPC_SYNC_CLIENT_H_
