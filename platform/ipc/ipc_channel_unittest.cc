#include "ipc/ipc_channel.h"

#include <unistd.h>

#include <atomic>
#include <memory>
#include <thread>
#include <vector>

#include "ipc/ipc_message_framing.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/ipc_sync_message.h"
#include "ipc/test/channel_test_support.h"
#include "ipc/test/hex_bytes.h"

namespace IPC {
namespace {

using test::HeaderBytes;
using test::HexBytes;
using test::kTimeout;
using test::RawClient;
using test::RecordingListener;
using test::Serialize;
typedef RecordingListener::Events Events;

Message MakeMessage(uint32_t type, int value, const std::string& text) {
  Message message(7, type, Message::PRIORITY_NORMAL);
  message.WriteInt(value);
  message.WriteString(text);
  return message;
}

class ChannelTest : public test::IoThreadTest {
 protected:
  bool StartServer() {
    channel_ = std::make_unique<Channel>(path_, Channel::MODE_NAMED_SERVER, &listener_);
    return channel_->Connect(io_thread_.message_loop());
  }

  RecordingListener listener_;
  std::unique_ptr<Channel> channel_;
};

TEST_F(ChannelTest, HellosTravelBothWaysAndTheListenerGetsThePeersPid) {
  int32_t pid_while_dispatching = 0;
  listener_.set_on_message([&](const Message&) { pid_while_dispatching = channel_->peer_pid(); });
  ASSERT_TRUE(StartServer());
  RawClient client;
  ASSERT_TRUE(client.Connect(path_));
  // payload_size 4, routing -2, type 65535, flags PRIORITY_NORMAL, no descriptors, the pid.
  const int32_t pid = getpid();
  EXPECT_EQ(HexBytes("04000000 feffffff ffff0000 02000000 00000000") +
                std::string(reinterpret_cast<const char*>(&pid), sizeof(pid)),
            client.Read(24));

  Message hello(MSG_ROUTING_NONE, HELLO_MESSAGE_TYPE, Message::PRIORITY_NORMAL);
  hello.WriteInt(4242);
  ASSERT_TRUE(
      client.Write(Serialize(hello) + Serialize(hello) + Serialize(MakeMessage(100, 1, ""))));
  ASSERT_TRUE(listener_.WaitFor([](const Events& e) { return e.messages.size() == 1; }));
  const Events events = listener_.events();
  // Only the first hello counts, and no hello reaches OnMessageReceived.
  EXPECT_EQ(std::vector<int32_t>{4242}, events.connected_pids);
  WaitForIoThread();  // the callback has finished
  EXPECT_EQ(4242, pid_while_dispatching);
  EXPECT_EQ(100u, events.messages[0].type());
  for (base::MessageLoop* loop : events.callback_loops)
    EXPECT_EQ(io_thread_.message_loop(), loop);
}

TEST_F(ChannelTest, FramingOfWhatAPeerWrites) {
  const std::string a = Serialize(MakeMessage(100, 1, "alpha"));
  const std::string b = Serialize(MakeMessage(200, 2, "beta"));
  std::vector<std::string> byte_by_byte;
  for (char c : a)
    byte_by_byte.push_back(std::string(1, c));
  Message largest(7, 300, Message::PRIORITY_NORMAL);
  const std::string filler(Channel::kMaximumMessageSize - Message::kHeaderSize, 'x');
  largest.WriteBytes(filler.data(), static_cast<int>(filler.size()));
  const uint32_t max_payload = Channel::kMaximumMessageSize - Message::kHeaderSize;
  const Message hello_without_pid(MSG_ROUTING_NONE, HELLO_MESSAGE_TYPE, Message::PRIORITY_NORMAL);

  const struct {
    const char* name;
    std::vector<std::string> writes;  // each read by the server on its own
    std::vector<uint32_t> expected_types;
    bool dropped;  // else the peer leaves by itself afterwards
  } kCases[] = {
      {"one byte per write", byte_by_byte, {100}, false},
      {"two messages in one write", {a + b}, {100, 200}, false},
      {"second message split across writes", {a + b.substr(0, 9), b.substr(9)}, {100, 200}, false},
      {"largest allowed message", {Serialize(largest)}, {300}, false},
      {"one byte over the maximum", {a + HeaderBytes(max_payload + 1)}, {100}, true},
      {"header claiming 4 GiB", {HeaderBytes(0xFFFFFFF0u)}, {}, true},
      {"descriptors claimed", {HeaderBytes(0, 1)}, {}, true},
      {"hello without a pid", {Serialize(hello_without_pid)}, {}, true},
      {"peer leaves mid-message", {a.substr(0, 25)}, {}, false},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    RecordingListener listener;
    const std::string path = test::NewSocketPath();
    Channel server(path, Channel::MODE_NAMED_SERVER, &listener);
    ASSERT_TRUE(server.Connect(io_thread_.message_loop()));
    RawClient client;
    ASSERT_TRUE(client.Connect(path));
    for (const std::string& bytes : test_case.writes) {
      ASSERT_TRUE(client.Write(bytes));
      ASSERT_TRUE(client.WaitUntilRead());  // each write is a read of its own
    }
    const size_t count = test_case.expected_types.size();
    EXPECT_TRUE(listener.WaitFor([&](const Events& e) { return e.messages.size() == count; }));
    if (test_case.dropped)
      EXPECT_TRUE(client.WaitForClose());
    else
      EXPECT_EQ(0, listener.events().errors);
    client.Close();
    EXPECT_TRUE(listener.WaitFor([](const Events& e) { return e.errors == 1; }));
    const Events events = listener.events();
    std::vector<uint32_t> types;
    for (const Message& message : events.messages)
      types.push_back(message.type());
    EXPECT_EQ(test_case.expected_types, types);
  }
}

TEST_F(ChannelTest, PeerWithAnotherUidIsRefused) {
  channel_ = std::make_unique<Channel>(path_, Channel::MODE_NAMED_SERVER, &listener_);
  channel_->SetPeerUidForTesting(geteuid() + 1);
  ASSERT_TRUE(channel_->Connect(io_thread_.message_loop()));
  RawClient client;
  ASSERT_TRUE(client.Connect(path_));
  // Refused before the hello: the peer sees the connection closed and nothing else.
  EXPECT_EQ("", client.Read(24));
  EXPECT_TRUE(client.WaitForClose());
  EXPECT_TRUE(listener_.WaitFor([](const Events& e) { return e.denied == 1; }));
  EXPECT_EQ(0, listener_.events().errors);
}

TEST_F(ChannelTest, PeersBeyondTheMaximumAreClosedAtOnceUntilOneLeaves) {
  ASSERT_TRUE(StartServer());
  std::unique_ptr<Message> hello(CreateHelloMessage(1));
  std::vector<RawClient> clients(Channel::kMaximumPeers + 1);
  for (size_t i = 0; i < Channel::kMaximumPeers; ++i) {
    ASSERT_TRUE(clients[i].Connect(path_) && clients[i].Write(Serialize(*hello)));
    ASSERT_TRUE(listener_.WaitFor([&](const Events& e) { return e.connected_pids.size() > i; }));
  }
  RawClient& refused = clients.back();
  ASSERT_TRUE(refused.Connect(path_));
  EXPECT_EQ("", refused.Read(24));  // no hello: stops early when the server closes
  EXPECT_TRUE(refused.WaitForClose());
  EXPECT_EQ(Channel::kMaximumPeers, channel_->peer_count());
  // Outside a dispatch, a server with several peers cannot tell whom a message is for.
  EXPECT_FALSE(channel_->Send(new Message(1, 2, Message::PRIORITY_NORMAL)));
  clients[0].Close();
  ASSERT_TRUE(listener_.WaitFor([](const Events& e) { return e.errors == 1; }));
  ASSERT_TRUE(refused.Connect(path_) && refused.Write(Serialize(*hello)));
  EXPECT_TRUE(listener_.WaitFor(
      [](const Events& e) { return e.connected_pids.size() == Channel::kMaximumPeers + 1; }));
}

TEST_F(ChannelTest, ConnectRefusals) {
  RecordingListener listener;
  for (Channel::Mode mode : {Channel::MODE_NONE, Channel::MODE_NAMED_CLIENT}) {
    Channel no_server(path_, mode, &listener);
    EXPECT_FALSE(no_server.Connect(io_thread_.message_loop()));
  }
  Channel too_long(std::string(120, 'x'), Channel::MODE_NAMED_SERVER, &listener);
  EXPECT_FALSE(too_long.Connect(io_thread_.message_loop()));
  ASSERT_TRUE(StartServer());
  EXPECT_FALSE(channel_->Connect(io_thread_.message_loop()));                 // only once
  EXPECT_FALSE(channel_->Send(new Message(1, 2, Message::PRIORITY_NORMAL)));  // no peer yet
  channel_->Close();
  EXPECT_NE(0, access(path_.c_str(), F_OK));
  EXPECT_FALSE(channel_->Connect(io_thread_.message_loop()));  // nor after Close()
}

// A client channel on an I/O thread of its own.
TEST_F(ChannelTest, ClientChannelMeetsAServerChannel) {
  ASSERT_TRUE(StartServer());
  base::Thread client_thread("chan_client_io");
  ASSERT_TRUE(client_thread.Start());
  RecordingListener client_listener;
  Channel client(path_, Channel::MODE_CLIENT, &client_listener);
  ASSERT_TRUE(client.Connect(client_thread.message_loop()));
  ASSERT_TRUE(client.Send(new Message(MakeMessage(100, 1, "up"))));
  ASSERT_TRUE(listener_.WaitFor([](const Events& e) { return e.messages.size() == 1; }));
  EXPECT_TRUE(channel_->Send(new Message(MakeMessage(200, 2, "down"))));  // its only peer
  ASSERT_TRUE(client_listener.WaitFor([](const Events& e) { return e.messages.size() == 1; }));
  const Events events = client_listener.events();
  EXPECT_EQ(std::vector<int32_t>{getpid()}, events.connected_pids);
  EXPECT_EQ(200u, events.messages[0].type());
  for (base::MessageLoop* loop : events.callback_loops)
    EXPECT_EQ(client_thread.message_loop(), loop);
  // The server goes away: the client is told, and has no one to send to.
  channel_.reset();
  EXPECT_TRUE(client_listener.WaitFor([](const Events& e) { return e.errors == 1; }));
  EXPECT_FALSE(client.Send(new Message(1, 2, Message::PRIORITY_NORMAL)));
}

TEST_F(ChannelTest, SendFromSeveralThreadsAtOnceLosesNothing) {
  ASSERT_TRUE(StartServer());
  SyncClient client;
  ASSERT_EQ(SyncClient::RESULT_OK, client.Connect(path_, kTimeout));
  ASSERT_TRUE(listener_.WaitFor([](const Events& e) { return e.connected_pids.size() == 1; }));

  // Large enough that the socket fills and the rest waits in the channel's queue.
  const int kSenders = 4;
  const int kMessagesEach = 100;
  const std::string filler(8000, 'f');
  std::vector<std::thread> senders;
  std::atomic<int> failures{0};
  for (int sender = 0; sender < kSenders; ++sender) {
    senders.emplace_back([&, sender] {
      for (int i = 0; i < kMessagesEach; ++i) {
        Message* message = new Message(sender, 500, Message::PRIORITY_NORMAL);
        message->WriteInt(i);
        message->WriteString(filler);
        if (!channel_->Send(message))
          ++failures;
      }
    });
  }
  std::vector<int> next(kSenders, 0);
  for (int received = 0; received < kSenders * kMessagesEach; ++received) {
    std::unique_ptr<Message> message;
    ASSERT_EQ(SyncClient::RESULT_OK, client.ReceiveMessage(kTimeout, &message)) << client.error();
    PickleIterator iter(*message);
    int index = -1;
    std::string text;
    ASSERT_TRUE(iter.ReadInt(&index) && iter.ReadString(&text) && text == filler);
    const int sender = message->routing_id();
    ASSERT_TRUE(sender >= 0 && sender < kSenders);
    // Each sender's messages arrive whole and in its order.
    ASSERT_EQ(next[sender]++, index);
  }
  for (auto& sender : senders)
    sender.join();
  EXPECT_EQ(0, failures.load());
}

TEST_F(ChannelTest, ChannelThatOutlivesItsIoThreadClosesWithIt) {
  ASSERT_TRUE(StartServer());
  SyncClient clients[2];
  for (SyncClient& client : clients)
    ASSERT_EQ(SyncClient::RESULT_OK, client.Connect(path_, kTimeout));
  ASSERT_TRUE(listener_.WaitFor([](const Events& e) { return e.connected_pids.size() == 2; }));
  io_thread_.Stop();
  // The peers' connections and the socket file went with the loop; the listener heard each
  // peer leave, once.
  std::unique_ptr<Message> message;
  EXPECT_EQ(SyncClient::RESULT_DISCONNECTED, clients[1].ReceiveMessage(kTimeout, &message));
  EXPECT_NE(0, access(path_.c_str(), F_OK));
  EXPECT_FALSE(channel_->Send(new Message(1, 2, Message::PRIORITY_NORMAL)));
  channel_.reset();
  EXPECT_EQ(2, listener_.events().errors);
}

TEST_F(ChannelTest, ListenerMayDestroyTheChannelFromItsCallback) {
  ASSERT_TRUE(StartServer());
  listener_.set_on_message([this](const Message&) { channel_.reset(); });
  RawClient client;
  ASSERT_TRUE(client.Connect(path_));
  // Two messages in one read: the second must not be dispatched to a destroyed channel.
  ASSERT_TRUE(
      client.Write(Serialize(MakeMessage(100, 1, "a")) + Serialize(MakeMessage(200, 2, "b"))));
  EXPECT_TRUE(client.WaitForClose());
  WaitForIoThread();
  EXPECT_EQ(1u, listener_.events().messages.size());
  EXPECT_EQ(0, listener_.events().errors);
  EXPECT_NE(0, access(path_.c_str(), F_OK));
}

}  // namespace
}  // namespace IPC
