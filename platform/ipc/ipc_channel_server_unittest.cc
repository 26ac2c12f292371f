#include "ipc/ipc_channel_server.h"

#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/logging.h"
#include "base/synchronization/waitable_event.h"
#include "base/test/blocked_thread.h"
#include "base/test/log_capture.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/ipc_sync_message.h"
#include "ipc/test/channel_test_support.h"

namespace IPC {
namespace {

using test::HeaderBytes;
using test::kTimeout;
using test::RawClient;
using test::RecordingListener;
using test::Serialize;
typedef RecordingListener::Events Events;

Message MakeMessage(int value) {
  Message message(7, 100, Message::PRIORITY_NORMAL);
  message.WriteInt(value);
  return message;
}

int ReadValue(const Message& message) {
  PickleIterator iter(message);
  int value = -1;
  EXPECT_TRUE(iter.ReadInt(&value));
  return value;
}

// Gives each peer a listener that answers double requests, keeps the listeners for the whole
// test, and records what the server tells it.
class RecordingDelegate : public ChannelServer::Delegate {
 public:
  struct Peer {
    Channel* channel = nullptr;  // gone once disconnected
    RecordingListener listener;
    int disconnects = 0;
    int errors_when_disconnected = -1;  // what the listener had been told by then
  };

  Channel::Listener* OnPeerConnected(Channel* channel) override {
    std::lock_guard<std::mutex> lock(lock_);
    late_callbacks += server_closed ? 1 : 0;
    changed_.notify_all();
    if (refuse) {
      ++refused;
      return nullptr;
    }
    peers.push_back(std::make_unique<Peer>());
    Peer* peer = peers.back().get();
    peer->channel = channel;
    peer->listener.set_channel(channel);
    peer->listener.set_answer_requests(true);
    return &peer->listener;
  }

  void OnPeerDisconnected(Channel* channel) override {
    std::lock_guard<std::mutex> lock(lock_);
    late_callbacks += server_closed ? 1 : 0;
    changed_.notify_all();
    // A later peer's channel may reuse a gone one's address: the newest is the live one.
    for (auto it = peers.rbegin(); it != peers.rend(); ++it) {
      if ((*it)->channel == channel) {
        ++(*it)->disconnects;
        (*it)->errors_when_disconnected = (*it)->listener.events().errors;
        return;
      }
    }
  }

  // Waits until |condition|, which may read the members below, holds.
  bool WaitFor(const std::function<bool()>& condition) {
    std::unique_lock<std::mutex> lock(lock_);
    return changed_.wait_for(lock, kTimeout, condition);
  }
  // Peers live as long as the delegate.
  Peer* peer(size_t index) {
    std::lock_guard<std::mutex> lock(lock_);
    return peers.at(index).get();
  }
  std::vector<int> disconnects() {
    std::lock_guard<std::mutex> lock(lock_);
    return DisconnectsLocked();
  }
  bool WaitForDisconnects(const std::vector<int>& expected) {
    return WaitFor([&] { return DisconnectsLocked() == expected; });
  }

  // Sends to every peer not yet disconnected, the way a user sends from its own threads:
  // under the lock that OnPeerDisconnected() takes.
  void SendToConnectedPeers(int value) {
    std::lock_guard<std::mutex> lock(lock_);
    for (const auto& peer : peers) {
      if (peer->disconnects == 0)
        peer->channel->Send(new Message(MakeMessage(value)));
    }
  }

  std::vector<std::unique_ptr<Peer>> peers;  // guarded by the delegate's lock
  std::atomic<bool> refuse{false};
  std::atomic<int> refused{0};
  std::atomic<bool> server_closed{false};  // every callback after this is late
  std::atomic<int> late_callbacks{0};

 private:
  std::vector<int> DisconnectsLocked() const {
    std::vector<int> counts;
    for (const auto& peer : peers)
      counts.push_back(peer->disconnects);
    return counts;
  }

  std::mutex lock_;
  std::condition_variable changed_;
};

class ChannelServerTest : public test::IoThreadTest {
 protected:
  bool StartServer() {
    server_ = std::make_unique<ChannelServer>(path_, &delegate_);
    return server_->Listen(io_thread_.message_loop());
  }

  // Connects |clients| to |path| one after another, so that peer i of |delegate| is client
  // i, and waits until the server counts them.
  void ConnectInOrder(const std::string& path,
                      RecordingDelegate* delegate,
                      std::vector<RawClient>* clients) {
    for (size_t i = 0; i < clients->size(); ++i) {
      ASSERT_TRUE((*clients)[i].Connect(path));
      ASSERT_TRUE(delegate->WaitFor([&] { return delegate->peers.size() == i + 1; }));
    }
    WaitForIoThread();  // the server counts a peer once the accepting task is over
  }

  RecordingDelegate delegate_;
  std::unique_ptr<ChannelServer> server_;
};

TEST_F(ChannelServerTest, EachPeerHasAChannelOfItsOwn) {
  ASSERT_TRUE(StartServer());
  const int kClients = 3;
  SyncClient clients[kClients];
  for (int id = 0; id < kClients; ++id) {
    ASSERT_EQ(SyncClient::RESULT_OK, clients[id].Connect(path_, kTimeout));
    ASSERT_EQ(SyncClient::RESULT_OK,
              clients[id].SendMessage(new Message(MakeMessage(id)), kTimeout));
  }
  ASSERT_TRUE(delegate_.WaitFor([&] { return delegate_.peers.size() == kClients; }));
  for (int i = 0; i < kClients; ++i) {
    ASSERT_TRUE(
        delegate_.peer(i)->listener.WaitFor([](const Events& e) { return !e.messages.empty(); }));
  }
  EXPECT_EQ(3u, server_->peer_count());
  // From this thread, through each peer's own channel, to that client alone.
  for (int i = 0; i < kClients; ++i) {
    RecordingDelegate::Peer* peer = delegate_.peer(i);
    const int id = ReadValue(peer->listener.events().messages[0]);
    EXPECT_TRUE(peer->channel->Send(new Message(MakeMessage(1000 + id))));
  }
  for (int id = 0; id < kClients; ++id) {
    std::unique_ptr<Message> pushed;
    ASSERT_EQ(SyncClient::RESULT_OK, clients[id].ReceiveMessage(kTimeout, &pushed));
    EXPECT_EQ(1000 + id, ReadValue(*pushed));
    int doubled = 0;
    EXPECT_EQ(SyncClient::RESULT_OK,
              clients[id].Send(test::NewDoubleRequest(id + 20, &doubled), kTimeout));
    EXPECT_EQ(2 * (id + 20), doubled);
  }
  for (int i = 0; i < kClients; ++i) {
    const Events events = delegate_.peer(i)->listener.events();
    EXPECT_EQ(std::vector<int32_t>{getpid()}, events.connected_pids);
    EXPECT_EQ(2u, events.messages.size());
    for (base::MessageLoop* loop : events.callback_loops)
      EXPECT_EQ(io_thread_.message_loop(), loop);
    clients[i].Close();
  }
  // The clients have gone: each channel is reported once.
  EXPECT_TRUE(delegate_.WaitForDisconnects(std::vector<int>(3, 1)));
  EXPECT_EQ(0u, server_->peer_count());
}

TEST_F(ChannelServerTest, OnlyThePeerThatLeavesOrBreaksTheFramingIsDisconnected) {
  const uint32_t max_payload = Channel::kMaximumMessageSize - Message::kHeaderSize;
  const std::string good = Serialize(MakeMessage(5));
  const struct {
    const char* name;
    std::string bytes;  // what the middle client writes before it leaves or is dropped
    bool leaves;        // it closes its end itself
  } kCases[] = {
      {"leaves", "", true},
      {"leaves mid-message", good.substr(0, 22), true},
      {"one byte over the maximum", HeaderBytes(max_payload + 1, 7, 400, 2, 0), false},
      {"hello without a pid", HeaderBytes(0, MSG_ROUTING_NONE, HELLO_MESSAGE_TYPE, 2, 0), false},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    const std::string path = test::NewSocketPath();
    RecordingDelegate delegate;
    ChannelServer server(path, &delegate);
    ASSERT_TRUE(server.Listen(io_thread_.message_loop()));
    std::vector<RawClient> clients(3);
    ConnectInOrder(path, &delegate, &clients);
    ASSERT_TRUE(clients[1].Write(test_case.bytes));
    if (test_case.leaves)
      clients[1].Close();
    else
      EXPECT_TRUE(clients[1].WaitForClose());

    const std::vector<int> middle_gone = {0, 1, 0};
    EXPECT_TRUE(delegate.WaitForDisconnects(middle_gone));
    EXPECT_EQ(1, delegate.peer(1)->errors_when_disconnected);
    EXPECT_EQ(2u, server.peer_count());
    // The others are still served, each on its own channel.
    for (size_t i : {0u, 2u}) {
      ASSERT_TRUE(clients[i].Write(Serialize(MakeMessage(static_cast<int>(i)))));
      RecordingListener* listener = &delegate.peer(i)->listener;
      ASSERT_TRUE(listener->WaitFor([](const Events& e) { return e.messages.size() == 1; }));
      EXPECT_EQ(static_cast<int>(i), ReadValue(listener->events().messages[0]));
      EXPECT_EQ(0, listener->events().errors);
    }
    EXPECT_EQ(middle_gone, delegate.disconnects());
    server.Close();
    EXPECT_EQ(std::vector<int>({1, 1, 1}), delegate.disconnects());
  }
}

// Each case refuses peers, then stops refusing: the server serves on.
TEST_F(ChannelServerTest, RefusedPeersAndTheServerServesOnAfterwards) {
  std::vector<RawClient> clients(ChannelServer::kMaximumPeers);
  const struct {
    const char* name;
    std::function<void(ChannelServer*, RecordingDelegate*, bool)> refuse;
    size_t peers;  // the delegate's peers while refusing
    bool gets_hello;
    const char* log;  // after "channel server <path> "
  } kCases[] = {
      {"delegate refuses",
       [](ChannelServer*, RecordingDelegate* delegate, bool refuse) { delegate->refuse = refuse; },
       0, true, nullptr},
      {"another uid",
       [](ChannelServer* server, RecordingDelegate*, bool refuse) {
         server->SetPeerUidForTesting(refuse ? geteuid() + 1 : geteuid());
       },
       0, false, "refused a peer with another user id"},
      {"beyond the maximum",
       [&](ChannelServer* server, RecordingDelegate* delegate, bool refuse) {
         if (refuse) {
           ConnectInOrder(server->path(), delegate, &clients);
           return;
         }
         clients[0].Close();  // makes room once the server has seen it go
         std::vector<int> first_gone(ChannelServer::kMaximumPeers, 0);
         first_gone[0] = 1;
         ASSERT_TRUE(delegate->WaitForDisconnects(first_gone));
       },
       ChannelServer::kMaximumPeers, false, "refused a peer: already 32 peers"},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    logging::ScopedLogCapture capture;
    const std::string path = test::NewSocketPath();
    RecordingDelegate delegate;
    ChannelServer server(path, &delegate);
    ASSERT_TRUE(server.Listen(io_thread_.message_loop()));
    test_case.refuse(&server, &delegate, true);
    RawClient refused;
    ASSERT_TRUE(refused.Connect(path));
    // Read() stops early when the server closes the connection.
    EXPECT_EQ(test_case.gets_hello ? 24u : 0u, refused.Read(25).size());
    EXPECT_TRUE(refused.WaitForClose());
    WaitForIoThread();
    EXPECT_EQ(test_case.peers, server.peer_count());
    EXPECT_EQ(std::vector<int>(test_case.peers, 0), delegate.disconnects());
    EXPECT_EQ(test_case.gets_hello ? 1 : 0, delegate.refused.load());
    if (test_case.log) {
      EXPECT_TRUE(capture.Has(logging::LOG_ERROR, "channel server " + path + " " + test_case.log));
    }

    test_case.refuse(&server, &delegate, false);
    SyncClient accepted;
    EXPECT_EQ(SyncClient::RESULT_OK, accepted.Connect(path, kTimeout));
    EXPECT_TRUE(delegate.WaitFor([&] { return delegate.peers.size() == test_case.peers + 1; }));
  }
}

TEST_F(ChannelServerTest, CloseFromAnotherThreadWhileACallbackRunsAndOthersSend) {
  const int kClients = 4;
  ASSERT_TRUE(StartServer());
  std::vector<RawClient> clients(kClients);
  ConnectInOrder(path_, &delegate_, &clients);
  const pid_t closing_thread = base::test::CurrentThreadId();
  std::atomic<bool> closing{false};
  base::WaitableEvent in_callback(true, false);
  // The first message of peer 0 holds the I/O thread until Close() waits for it.
  delegate_.peer(0)->listener.set_on_message([&](const Message&) {
    if (in_callback.IsSignaled())
      return;
    in_callback.Signal();
    while (!closing)
      std::this_thread::yield();
    EXPECT_TRUE(base::test::WaitUntilBlocked(closing_thread));
  });
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < kClients; ++i) {
    threads.emplace_back([&stop, &clients, i] {
      const std::string message = Serialize(MakeMessage(i));
      while (!stop && clients[i].Write(message)) {
      }
    });
  }
  threads.emplace_back([this, &stop] {
    // Bounded, so that no peer's queue reaches the limit that drops it.
    for (int value = 0; !stop && value < 20000; ++value)
      delegate_.SendToConnectedPeers(value);
  });
  in_callback.Wait();
  closing = true;
  server_->Close();
  delegate_.server_closed = true;
  std::vector<Events> at_close;
  for (int i = 0; i < kClients; ++i)
    at_close.push_back(delegate_.peer(i)->listener.events());
  EXPECT_EQ(0u, server_->peer_count());
  EXPECT_FALSE(test::PathExists(path_));
  // A callback that Close() failed to stop would run in the I/O thread's next rounds.
  WaitForIoThread();
  WaitForIoThread();
  stop = true;
  for (std::thread& thread : threads)
    thread.join();

  EXPECT_EQ(std::vector<int>(kClients, 1), delegate_.disconnects());
  EXPECT_EQ(0, delegate_.late_callbacks.load());
  for (int i = 0; i < kClients; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(1, delegate_.peer(i)->errors_when_disconnected);
    const Events events = delegate_.peer(i)->listener.events();
    EXPECT_EQ(1, events.errors);
    EXPECT_EQ(at_close[i].callback_loops.size(), events.callback_loops.size());
    EXPECT_TRUE(clients[i].WaitForClose());
  }
  EXPECT_FALSE(server_->Listen(io_thread_.message_loop()));
}

}  // namespace
}  // namespace IPC
