// What a server adds to a server channel's connections: a channel object per peer, the
// delegate's say over each peer, and closing from another thread. The connections
// themselves (framing, hellos, the uid check, the peer limit) are tested through
// IPC::Channel, which is built on this server, in ipc_channel_unittest.cc.

#include "ipc/ipc_channel_server.h"

#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/synchronization/waitable_event.h"
#include "base/test/blocked_thread.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/test/channel_test_support.h"

namespace IPC {
namespace {

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

// Gives each peer a recording listener, keeps the listeners for the whole test, and records what
// the server tells it. Once WaitFor() has seen a peer, a test may use peers[i] without the lock:
// the I/O thread changes only its counts, under the lock.
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
    peers.back()->channel = channel;
    return &peers.back()->listener;
  }

  void OnPeerDisconnected(Channel* channel) override {
    std::lock_guard<std::mutex> lock(lock_);
    late_callbacks += server_closed ? 1 : 0;
    changed_.notify_all();
    for (const auto& peer : peers) {
      if (peer->channel == channel && peer->disconnects == 0) {
        ++peer->disconnects;
        peer->errors_when_disconnected = peer->listener.events().errors;
        return;
      }
    }
  }

  // Waits until |condition|, which may read the members below, holds.
  bool WaitFor(const std::function<bool()>& condition) {
    std::unique_lock<std::mutex> lock(lock_);
    return changed_.wait_for(lock, kTimeout, condition);
  }
  // Whether each peer has been reported gone |expected[i]| times, now or within kTimeout.
  bool WaitForDisconnects(const std::vector<int>& expected) {
    return WaitFor([&] {
      std::vector<int> counts;
      for (const auto& peer : peers)
        counts.push_back(peer->disconnects);
      return counts == expected;
    });
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
  std::mutex lock_;
  std::condition_variable changed_;
};

class ChannelServerTest : public test::IoThreadTest {
 protected:
  void SetUp() override {
    IoThreadTest::SetUp();
    server_ = std::make_unique<ChannelServer>(path_, &delegate_);
    ASSERT_TRUE(server_->Listen(io_thread_.message_loop()));
  }

  RecordingDelegate delegate_;
  std::unique_ptr<ChannelServer> server_;
};

TEST_F(ChannelServerTest, EachPeerHasAChannelOfItsOwnAndIsReportedGoneOnce) {
  // A peer the delegate refuses has had its hello, and is closed without being reported.
  delegate_.refuse = true;
  RawClient refused;
  ASSERT_TRUE(refused.Connect(path_));
  EXPECT_EQ(24u, refused.Read(25).size());  // stops early when the server closes
  EXPECT_TRUE(refused.WaitForClose());
  EXPECT_EQ(1, delegate_.refused.load());
  delegate_.refuse = false;

  const int kClients = 3;
  SyncClient clients[kClients];
  for (int id = 0; id < kClients; ++id) {
    ASSERT_EQ(SyncClient::RESULT_OK, clients[id].Connect(path_, kTimeout));
    ASSERT_TRUE(delegate_.WaitFor([&] { return delegate_.peers.size() == id + 1u; }));
  }
  WaitForIoThread();  // the server counts a peer once the accepting task is over
  EXPECT_EQ(3u, server_->peer_count());
  // From this thread, through each peer's own channel, to that client alone.
  for (int id = 0; id < kClients; ++id)
    EXPECT_TRUE(delegate_.peers[id]->channel->Send(new Message(MakeMessage(1000 + id))));
  for (int id = 0; id < kClients; ++id) {
    std::unique_ptr<Message> pushed;
    ASSERT_EQ(SyncClient::RESULT_OK, clients[id].ReceiveMessage(kTimeout, &pushed));
    EXPECT_EQ(1000 + id, ReadValue(*pushed));
  }

  // The middle one leaves: its listener hears it before the delegate.
  clients[1].Close();
  EXPECT_TRUE(delegate_.WaitForDisconnects({0, 1, 0}));
  EXPECT_EQ(1, delegate_.peers[1]->errors_when_disconnected);
  EXPECT_EQ(2u, server_->peer_count());
  // Closing reports each remaining peer once.
  server_->Close();
  EXPECT_TRUE(delegate_.WaitForDisconnects({1, 1, 1}));
  EXPECT_EQ(0u, server_->peer_count());
  EXPECT_FALSE(server_->Listen(io_thread_.message_loop()));
}

TEST_F(ChannelServerTest, CloseFromAnotherThreadWhileACallbackRunsAndOthersSend) {
  const int kClients = 4;
  std::vector<RawClient> clients(kClients);
  for (size_t i = 0; i < clients.size(); ++i) {
    ASSERT_TRUE(clients[i].Connect(path_));
    ASSERT_TRUE(delegate_.WaitFor([&] { return delegate_.peers.size() == i + 1; }));
  }
  const pid_t closing_thread = base::test::CurrentThreadId();
  std::atomic<bool> closing{false};
  base::WaitableEvent in_callback(true, false);
  // The first message of peer 0 holds the I/O thread until Close() waits for it.
  delegate_.peers[0]->listener.set_on_message([&](const Message&) {
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
    at_close.push_back(delegate_.peers[i]->listener.events());
  EXPECT_EQ(0u, server_->peer_count());
  EXPECT_NE(0, access(path_.c_str(), F_OK));
  // A callback that Close() failed to stop would run in the I/O thread's next rounds.
  WaitForIoThread();
  WaitForIoThread();
  stop = true;
  for (std::thread& thread : threads)
    thread.join();

  EXPECT_TRUE(delegate_.WaitForDisconnects(std::vector<int>(kClients, 1)));
  EXPECT_EQ(0, delegate_.late_callbacks.load());
  for (int i = 0; i < kClients; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(1, delegate_.peers[i]->errors_when_disconnected);
    EXPECT_EQ(at_close[i].callback_loops.size(),
              delegate_.peers[i]->listener.events().callback_loops.size());
    EXPECT_TRUE(clients[i].WaitForClose());
  }
}

}  // namespace
}  // namespace IPC
