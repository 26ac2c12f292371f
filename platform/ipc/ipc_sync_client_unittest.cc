// An error reply, a server that never answers and one that closes are seen through avctl
// (tools/avctl/control_commands_unittest.cc), which sends with this client.

#include "ipc/ipc_sync_client.h"

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <memory>
#include <vector>

#include "base/posix/unix_domain_socket.h"
#include "ipc/ipc_channel.h"
#include "ipc/ipc_message_framing.h"
#include "ipc/ipc_sync_message.h"
#include "ipc/test/channel_test_support.h"

namespace IPC {
namespace {

using std::chrono::milliseconds;
using test::kTimeout;

// A reply to |request| carrying |value| after the message id.
Message* ReplyWith(const Message& request, int value) {
  Message* reply = SyncMessage::GenerateReply(&request);
  reply->WriteInt(value);
  return reply;
}

class SyncClientTest : public test::IoThreadTest {
 protected:
  // A server channel at a fresh path; |answer| runs on the I/O thread for every message it
  // receives.
  void Serve(std::function<void(Channel*, const Message&)> answer) {
    path_ = test::NewSocketPath();
    channel_ = std::make_unique<Channel>(path_, Channel::MODE_NAMED_SERVER, &listener_);
    Channel* channel = channel_.get();
    listener_.set_on_message(
        [channel, answer](const Message& message) { answer(channel, message); });
    ASSERT_TRUE(channel_->Connect(io_thread_.message_loop()));
    ASSERT_EQ(SyncClient::RESULT_OK, client_.Connect(path_, kTimeout)) << client_.error();
  }

  test::RecordingListener listener_;
  std::unique_ptr<Channel> channel_;
  SyncClient client_;
};

// Requests in turn: the first is answered only once the second comes, after other messages,
// and the third with a reply that lacks its int.
TEST_F(SyncClientTest, EachRequestTakesOnlyItsOwnReply) {
  std::vector<Message> requests;  // used on the I/O thread only
  Serve([&requests](Channel* channel, const Message& request) {
    requests.push_back(request);
    if (requests.size() == 2) {
      const int id = SyncMessage::GetMessageId(request);
      Message* other_reply = new Message(1, IPC_REPLY_ID, Message::PRIORITY_NORMAL);
      other_reply->set_reply();
      other_reply->WriteInt(id + 1);
      other_reply->WriteInt(-1);
      channel->Send(other_reply);
      Message* not_a_reply = new Message(1, test::kDoubleRequestType, Message::PRIORITY_NORMAL);
      not_a_reply->WriteInt(id);
      not_a_reply->WriteInt(-2);
      channel->Send(not_a_reply);
      channel->Send(CreateHelloMessage(12345));
      channel->Send(ReplyWith(requests[0], 999));  // late
      channel->Send(ReplyWith(request, 42));
    } else if (requests.size() == 3) {
      channel->Send(SyncMessage::GenerateReply(&request));
    }
  });
  EXPECT_EQ(getpid(), client_.server_pid());
  int out[3] = {0, 0, 0};
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(SyncClient::RESULT_TIMEOUT,
            client_.Send(test::NewDoubleRequest(1, &out[0]), milliseconds(100)));
  EXPECT_GE(std::chrono::steady_clock::now() - start, milliseconds(100));
  EXPECT_TRUE(client_.is_connected());
  EXPECT_EQ(SyncClient::RESULT_OK, client_.Send(test::NewDoubleRequest(21, &out[1]), kTimeout))
      << client_.error();
  EXPECT_EQ(SyncClient::RESULT_CANNOT_DECODE,
            client_.Send(test::NewDoubleRequest(5, &out[2]), kTimeout));
  EXPECT_TRUE(client_.is_connected());
  EXPECT_EQ(0, out[0]);
  EXPECT_EQ(42, out[1]);
  EXPECT_EQ(0, out[2]);
}

TEST_F(SyncClientTest, ConnectFailures) {
  // Nothing at the path, or a path that cannot be one.
  EXPECT_EQ(SyncClient::RESULT_CONNECT_FAILED, client_.Connect(test::NewSocketPath(), kTimeout));
  EXPECT_EQ(SyncClient::RESULT_CONNECT_FAILED, client_.Connect(std::string(200, 'x'), kTimeout));
  EXPECT_FALSE(client_.is_connected());
  int out = 0;
  EXPECT_EQ(SyncClient::RESULT_DISCONNECTED,
            client_.Send(test::NewDoubleRequest(1, &out), kTimeout));

  // A socket that listens but never accepts: the connection is made, the hello never comes.
  const int silent = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address;
  socklen_t length = 0;
  ASSERT_TRUE(base::FillUnixAddress(path_, &address, &length));
  ASSERT_EQ(0, bind(silent, reinterpret_cast<sockaddr*>(&address), length));
  ASSERT_EQ(0, listen(silent, 4));
  EXPECT_EQ(SyncClient::RESULT_TIMEOUT, client_.Connect(path_, milliseconds(50)));
  EXPECT_FALSE(client_.is_connected());
  close(silent);
}

}  // namespace
}  // namespace IPC
