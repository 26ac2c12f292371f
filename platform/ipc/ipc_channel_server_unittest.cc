#include "ipc/ipc_channel_server.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "base/threading/thread.h"
#include "gtest/gtest.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/ipc_sync_message.h"
#include "ipc/test/channel_test_support.h"

namespace IPC {
namespace {

using test::HeaderBytes;
using test::RawClient;
using test::RecordingListener;
using test::Serialize;

const std::chrono::milliseconds kTimeout(5000);
const uint32_t kPlainType = 100;

Message MakeMessage(int value) {
  Message message(7, kPlainType, Message::PRIORITY_NORMAL);
  message.WriteInt(value);
  return message;
}

int ReadValue(const Message& message) {
  PickleIterator iter(message);
  int value = -1;
  EXPECT_TRUE(iter.ReadInt(&value));
  return value;
}

bool PathExists(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) == 0;
}

// Gives each peer a listener that answers double requests, keeps every listener for the
// whole test, and records what the server tells it.
class RecordingDelegate : public ChannelServer::Delegate {
 public:
  struct Snapshot {
    size_t accepted = 0;
    int refused = 0;
    std::vector<int> disconnects;  // per accepted peer, in the order they connected
    int late_callbacks = 0;
  };

  Channel::Listener* OnPeerConnected(Channel* channel) override {
    std::lock_guard<std::mutex> lock(lock_);
    CountLateCallbackLocked();
    if (refuse_) {
      ++refused_;
      changed_.notify_all();
      return nullptr;
    }
    auto peer = std::make_unique<Peer>();
    peer->channel = channel;
    peer->listener.set_channel(channel);
    peer->listener.set_answer_requests(true);
    peers_.push_back(std::move(peer));
    changed_.notify_all();
    return &peers_.back()->listener;
  }

  void OnPeerDisconnected(Channel* channel) override {
    std::lock_guard<std::mutex> lock(lock_);
    CountLateCallbackLocked();
    // A channel's address may be reused by a later peer: the newest one is the live one.
    for (auto it = peers_.rbegin(); it != peers_.rend(); ++it) {
      Peer* peer = it->get();
      if (peer->channel != channel)
        continue;
      ++peer->disconnects;
      peer->errors_when_disconnected = peer->listener.events().errors;
      break;
    }
    changed_.notify_all();
  }

  void set_refuse(bool refuse) {
    std::lock_guard<std::mutex> lock(lock_);
    refuse_ = refuse;
  }

  // From now on every callback is late.
  void set_server_closed() {
    std::lock_guard<std::mutex> lock(lock_);
    server_closed_ = true;
  }

  Snapshot snapshot() const {
    std::lock_guard<std::mutex> lock(lock_);
    return SnapshotLocked();
  }

  bool WaitFor(const std::function<bool(const Snapshot&)>& condition) const {
    std::unique_lock<std::mutex> lock(lock_);
    return changed_.wait_for(lock, kTimeout, [&] { return condition(SnapshotLocked()); });
  }

  // The peers live until the delegate goes.
  RecordingListener* listener(size_t index) {
    std::lock_guard<std::mutex> lock(lock_);
    return &peers_.at(index)->listener;
  }
  Channel* channel(size_t index) {
    std::lock_guard<std::mutex> lock(lock_);
    return peers_.at(index)->channel;
  }
  int errors_when_disconnected(size_t index) {
    std::lock_guard<std::mutex> lock(lock_);
    return peers_.at(index)->errors_when_disconnected;
  }

  // Sends a message to every peer not yet disconnected, the way a user sends from its own
  // threads: under the lock that OnPeerDisconnected() takes.
  void SendToConnectedPeers(int value) {
    std::lock_guard<std::mutex> lock(lock_);
    for (const auto& peer : peers_) {
      if (peer->disconnects == 0)
        peer->channel->Send(new Message(MakeMessage(value)));
    }
  }

 private:
  struct Peer {
    Channel* channel = nullptr;
    RecordingListener listener;
    int disconnects = 0;
    int errors_when_disconnected = -1;
  };

  void CountLateCallbackLocked() {
    if (server_closed_)
      ++late_callbacks_;
  }

  Snapshot SnapshotLocked() const {
    Snapshot snapshot;
    snapshot.accepted = peers_.size();
    snapshot.refused = refused_;
    snapshot.late_callbacks = late_callbacks_;
    for (const auto& peer : peers_)
      snapshot.disconnects.push_back(peer->disconnects);
    return snapshot;
  }

  mutable std::mutex lock_;
  mutable std::condition_variable changed_;
  std::vector<std::unique_ptr<Peer>> peers_;
  bool refuse_ = false;
  int refused_ = 0;
  bool server_closed_ = false;
  int late_callbacks_ = 0;
};

class ChannelServerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(io_thread_.Start());
    path_ = test::NewSocketPath();
  }

  void TearDown() override {
    server_.reset();
    io_thread_.Stop();
    unlink(path_.c_str());
  }

  bool StartServer() {
    server_ = std::make_unique<ChannelServer>(path_, &delegate_);
    return server_->Listen(io_thread_.message_loop());
  }

  // Connects |clients| to |path| one after another, so that peer i of |delegate| is client i.
  void ConnectInOrder(const std::string& path,
                      RecordingDelegate* delegate,
                      std::vector<RawClient>* clients) {
    for (size_t i = 0; i < clients->size(); ++i) {
      ASSERT_TRUE((*clients)[i].Connect(path));
      ASSERT_TRUE(delegate->WaitFor(
          [i](const RecordingDelegate::Snapshot& s) { return s.accepted == i + 1; }));
    }
    WaitForIoThread();
  }

  // Lets the I/O thread finish what it is doing, e.g. adding the peer the delegate has just
  // accepted to the server's count.
  void WaitForIoThread() {
    io_thread_.PostTaskAndWait(FROM_HERE, [] {});
  }

  base::Thread io_thread_{"chs_io"};
  RecordingDelegate delegate_;
  std::unique_ptr<ChannelServer> server_;
  std::string path_;
};

TEST_F(ChannelServerTest, SeveralClientsAtOnceEachGetTheirOwnMessages) {
  ASSERT_TRUE(StartServer());
  const int kClients = 3;
  const int kRequestsEach = 50;
  std::vector<std::thread> threads;
  std::vector<std::string> failures(kClients);
  for (int id = 0; id < kClients; ++id) {
    threads.emplace_back([this, id, &failures] {
      std::string& failure = failures[id];
      SyncClient client;
      if (client.Connect(path_, kTimeout) != SyncClient::RESULT_OK) {
        failure = "connect: " + client.error();
        return;
      }
      // Says who it is, then waits for the server's message meant for it alone.
      client.SendMessage(new Message(MakeMessage(id)), kTimeout);
      std::unique_ptr<Message> pushed;
      if (client.ReceiveMessage(kTimeout, &pushed) != SyncClient::RESULT_OK ||
          ReadValue(*pushed) != 1000 + id) {
        failure = "pushed message: " + client.error();
        return;
      }
      for (int i = 0; i < kRequestsEach; ++i) {
        const int value = id * 10000 + i;
        int doubled = 0;
        if (client.Send(test::NewDoubleRequest(value, &doubled), kTimeout) !=
                SyncClient::RESULT_OK ||
            doubled != 2 * value) {
          failure = "request " + std::to_string(value) + ": " + client.error();
          return;
        }
      }
    });
  }
  // Every client has said who it is: answer each through its own channel, from this thread.
  ASSERT_TRUE(delegate_.WaitFor(
      [](const RecordingDelegate::Snapshot& s) { return s.accepted == kClients; }));
  for (int peer = 0; peer < kClients; ++peer) {
    RecordingListener* listener = delegate_.listener(peer);
    ASSERT_TRUE(
        listener->WaitFor([](const RecordingListener::Events& e) { return !e.messages.empty(); }));
  }
  EXPECT_EQ(3u, server_->peer_count());
  for (int peer = 0; peer < kClients; ++peer) {
    const int id = ReadValue(delegate_.listener(peer)->events().messages[0]);
    EXPECT_TRUE(delegate_.channel(peer)->Send(new Message(MakeMessage(1000 + id))));
  }
  for (std::thread& thread : threads)
    thread.join();
  for (int id = 0; id < kClients; ++id)
    EXPECT_EQ("", failures[id]) << "client " << id;
  for (int peer = 0; peer < kClients; ++peer) {
    const RecordingListener::Events events = delegate_.listener(peer)->events();
    EXPECT_EQ(std::vector<int32_t>{getpid()}, events.connected_pids);
    EXPECT_EQ(1u + kRequestsEach, events.messages.size());
    for (base::MessageLoop* loop : events.callback_loops)
      EXPECT_EQ(io_thread_.message_loop(), loop);
  }
  // The clients have gone: each channel is reported once.
  EXPECT_TRUE(delegate_.WaitFor([](const RecordingDelegate::Snapshot& s) {
    return s.disconnects == std::vector<int>(kClients, 1);
  }));
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
      {"descriptors claimed", good + HeaderBytes(0, 7, 400, 2, 1), false},
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
    EXPECT_EQ(3u, server.peer_count());
    ASSERT_TRUE(clients[1].Write(test_case.bytes));
    if (test_case.leaves)
      clients[1].Close();
    else
      EXPECT_TRUE(clients[1].WaitForClose());

    EXPECT_TRUE(delegate.WaitFor([](const RecordingDelegate::Snapshot& s) {
      return s.disconnects == std::vector<int>{0, 1, 0};
    }));
    EXPECT_EQ(1, delegate.errors_when_disconnected(1));
    EXPECT_EQ(2u, server.peer_count());
    // The others are still served, each on its own channel.
    for (size_t i : {0u, 2u}) {
      ASSERT_TRUE(clients[i].Write(Serialize(MakeMessage(static_cast<int>(i)))));
      RecordingListener* listener = delegate.listener(i);
      ASSERT_TRUE(listener->WaitFor(
          [](const RecordingListener::Events& e) { return e.messages.size() == 1; }));
      EXPECT_EQ(static_cast<int>(i), ReadValue(listener->events().messages[0]));
      EXPECT_EQ(0, listener->events().errors);
    }
    EXPECT_EQ(std::vector<int>({0, 1, 0}), delegate.snapshot().disconnects);
    server.Close();
    EXPECT_EQ(std::vector<int>({1, 1, 1}), delegate.snapshot().disconnects);
  }
}

TEST_F(ChannelServerTest, RefusedPeersAndTheServerServesOnAfterwards) {
  const struct {
    const char* name;
    std::function<void(ChannelServer*, RecordingDelegate*, bool)> refuse;
    bool gets_hello;
    const char* log;
  } kCases[] = {
      {"delegate refuses",
       [](ChannelServer*, RecordingDelegate* delegate, bool refuse) {
         delegate->set_refuse(refuse);
       },
       true, nullptr},
      {"another uid",
       [](ChannelServer* server, RecordingDelegate*, bool refuse) {
         server->SetPeerUidForTesting(refuse ? geteuid() + 1 : geteuid());
       },
       false, "refused a peer with another user id"},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    logging::ScopedLogCapture capture;
    const std::string path = test::NewSocketPath();
    RecordingDelegate delegate;
    ChannelServer server(path, &delegate);
    test_case.refuse(&server, &delegate, true);
    ASSERT_TRUE(server.Listen(io_thread_.message_loop()));
    RawClient refused;
    ASSERT_TRUE(refused.Connect(path));
    // Read() stops early when the server closes the connection.
    EXPECT_EQ(test_case.gets_hello ? 24u : 0u, refused.Read(25).size());
    EXPECT_TRUE(refused.WaitForClose());
    WaitForIoThread();
    EXPECT_EQ(0u, server.peer_count());
    const RecordingDelegate::Snapshot snapshot = delegate.snapshot();
    EXPECT_EQ(0u, snapshot.accepted);
    EXPECT_EQ(test_case.gets_hello ? 1 : 0, snapshot.refused);
    if (test_case.log) {
      EXPECT_TRUE(capture.Has(logging::LOG_ERROR, "channel server " + path + " " + test_case.log));
    }

    test_case.refuse(&server, &delegate, false);
    SyncClient accepted;
    EXPECT_EQ(SyncClient::RESULT_OK, accepted.Connect(path, kTimeout));
    EXPECT_TRUE(
        delegate.WaitFor([](const RecordingDelegate::Snapshot& s) { return s.accepted == 1; }));
    WaitForIoThread();
    EXPECT_EQ(1u, server.peer_count());
  }
}

TEST_F(ChannelServerTest, ConnectionsBeyondTheMaximumAreClosedAtOnce) {
  logging::ScopedLogCapture capture;
  ASSERT_TRUE(StartServer());
  std::vector<RawClient> clients(ChannelServer::kMaximumPeers);
  ConnectInOrder(path_, &delegate_, &clients);
  EXPECT_EQ(ChannelServer::kMaximumPeers, server_->peer_count());

  RawClient extra;
  ASSERT_TRUE(extra.Connect(path_));
  EXPECT_EQ(0u, extra.Read(24).size());
  EXPECT_TRUE(extra.WaitForClose());
  EXPECT_TRUE(capture.Has(logging::LOG_ERROR,
                          "channel server " + path_ + " refused a peer: already 32 peers"));
  EXPECT_EQ(ChannelServer::kMaximumPeers, delegate_.snapshot().accepted);

  // Once one leaves there is room again.
  clients[0].Close();
  ASSERT_TRUE(delegate_.WaitFor(
      [](const RecordingDelegate::Snapshot& s) { return s.disconnects[0] == 1; }));
  RawClient next;
  ASSERT_TRUE(next.Connect(path_));
  EXPECT_EQ(24u, next.Read(24).size());
  EXPECT_TRUE(delegate_.WaitFor([](const RecordingDelegate::Snapshot& s) {
    return s.accepted == ChannelServer::kMaximumPeers + 1;
  }));
  WaitForIoThread();
  EXPECT_EQ(ChannelServer::kMaximumPeers, server_->peer_count());
}

TEST_F(ChannelServerTest, CloseFromAnotherThreadWhilePeersAndTheServerSend) {
  const int kClients = 4;
  ASSERT_TRUE(StartServer());
  std::vector<RawClient> clients(kClients);
  ConnectInOrder(path_, &delegate_, &clients);
  for (int i = 0; i < kClients; ++i) {
    // Slow callbacks make it likely that Close() comes while one runs.
    delegate_.listener(i)->set_on_message(
        [](const Message&) { std::this_thread::sleep_for(std::chrono::microseconds(200)); });
  }
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < kClients; ++i) {
    threads.emplace_back([&stop, &clients, i] {
      const std::string message = Serialize(MakeMessage(i));
      while (!stop.load() && clients[i].Write(message)) {
      }
    });
  }
  threads.emplace_back([this, &stop] {
    for (int value = 0; !stop.load(); ++value) {
      delegate_.SendToConnectedPeers(value);
      std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
  });
  for (int i = 0; i < kClients; ++i) {
    ASSERT_TRUE(delegate_.listener(i)->WaitFor(
        [](const RecordingListener::Events& e) { return e.messages.size() >= 10; }));
  }

  server_->Close();
  delegate_.set_server_closed();
  std::vector<RecordingListener::Events> at_close;
  for (int i = 0; i < kClients; ++i)
    at_close.push_back(delegate_.listener(i)->events());
  EXPECT_EQ(0u, server_->peer_count());
  EXPECT_FALSE(PathExists(path_));
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  stop.store(true);
  for (std::thread& thread : threads)
    thread.join();

  const RecordingDelegate::Snapshot snapshot = delegate_.snapshot();
  EXPECT_EQ(std::vector<int>(kClients, 1), snapshot.disconnects);
  EXPECT_EQ(0, snapshot.late_callbacks);
  for (int i = 0; i < kClients; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(1, delegate_.errors_when_disconnected(i));
    const RecordingListener::Events events = delegate_.listener(i)->events();
    EXPECT_EQ(1, events.errors);
    EXPECT_EQ(at_close[i].messages.size(), events.messages.size());
    EXPECT_EQ(at_close[i].callback_loops.size(), events.callback_loops.size());
    EXPECT_TRUE(clients[i].WaitForClose());
  }
  EXPECT_FALSE(server_->Listen(io_thread_.message_loop()));
}

TEST_F(ChannelServerTest, PeersAreDisconnectedOnceWhenTheIoThreadStopsFirst) {
  ASSERT_TRUE(StartServer());
  std::vector<RawClient> clients(2);
  ConnectInOrder(path_, &delegate_, &clients);
  io_thread_.Stop();
  const RecordingDelegate::Snapshot snapshot = delegate_.snapshot();
  EXPECT_EQ(std::vector<int>({1, 1}), snapshot.disconnects);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(1, delegate_.errors_when_disconnected(i));
    EXPECT_TRUE(clients[i].WaitForClose());
  }
  EXPECT_EQ(0u, server_->peer_count());
  EXPECT_FALSE(PathExists(path_));
  server_.reset();
  EXPECT_EQ(std::vector<int>({1, 1}), delegate_.snapshot().disconnects);
}

TEST_F(ChannelServerTest, WhatMayAlreadyBeAtTheSocketPath) {
  const mode_t old_umask = umask(0);  // a loose umask must not loosen the socket's mode
  const struct {
    const char* name;
    std::function<void(const std::string&)> prepare;
    bool listens;
  } kCases[] = {
      {"nothing", [](const std::string&) {}, true},
      {"stale socket",
       [](const std::string& path) {
         const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
         sockaddr_un address = {};
         address.sun_family = AF_UNIX;
         path.copy(address.sun_path, sizeof(address.sun_path) - 1);
         ASSERT_EQ(0, bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)));
         close(fd);
       },
       true},
      {"regular file", [](const std::string& path) { std::ofstream(path) << "keep me"; }, false},
      {"directory", [](const std::string& path) { ASSERT_EQ(0, mkdir(path.c_str(), 0700)); },
       false},
  };
  for (const auto& test_case : kCases) {
    SCOPED_TRACE(test_case.name);
    const std::string path = test::NewSocketPath();
    test_case.prepare(path);
    RecordingDelegate delegate;
    auto server = std::make_unique<ChannelServer>(path, &delegate);
    EXPECT_EQ(test_case.listens, server->Listen(io_thread_.message_loop()));
    struct stat info;
    ASSERT_EQ(0, lstat(path.c_str(), &info));
    if (test_case.listens) {
      EXPECT_TRUE(S_ISSOCK(info.st_mode));
      EXPECT_EQ(0600u, info.st_mode & 0777);
      SyncClient client;
      EXPECT_EQ(SyncClient::RESULT_OK, client.Connect(path, kTimeout));
      EXPECT_TRUE(
          delegate.WaitFor([](const RecordingDelegate::Snapshot& s) { return s.accepted == 1; }));
      server.reset();
      EXPECT_FALSE(PathExists(path));
    } else {
      EXPECT_FALSE(S_ISSOCK(info.st_mode));
      server.reset();
      EXPECT_TRUE(PathExists(path));
      remove(path.c_str());
    }
  }
  umask(old_umask);
}

TEST_F(ChannelServerTest, ANewServerTakesTheOldOnesPathOverAndKeepsItsFile) {
  ASSERT_TRUE(StartServer());
  EXPECT_FALSE(server_->Listen(io_thread_.message_loop()));  // only once
  RecordingDelegate newer_delegate;
  ChannelServer newer(path_, &newer_delegate);
  ASSERT_TRUE(newer.Listen(io_thread_.message_loop()));
  server_.reset();
  EXPECT_TRUE(PathExists(path_));
  SyncClient client;
  EXPECT_EQ(SyncClient::RESULT_OK, client.Connect(path_, kTimeout));
  EXPECT_TRUE(
      newer_delegate.WaitFor([](const RecordingDelegate::Snapshot& s) { return s.accepted == 1; }));
  newer.Close();
  EXPECT_FALSE(PathExists(path_));

  ChannelServer too_long(std::string(120, 'x'), &newer_delegate);
  EXPECT_FALSE(too_long.Listen(io_thread_.message_loop()));
  ChannelServer closed_first(test::NewSocketPath(), &newer_delegate);
  closed_first.Close();
  EXPECT_FALSE(closed_first.Listen(io_thread_.message_loop()));
}

}  // namespace
}  // namespace IPC
