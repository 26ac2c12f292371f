// tarn-host against peers that misbehave: idle, flooding without reading, leaving in the
// middle of a message, a CEC application that dies mid-exchange (one that answers late is a case of
// cec_sim_process_test). Each case checks that the others are served meanwhile and that the
// host stays within its memory bound.

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "base/posix/unix_domain_socket.h"
#include "gtest/gtest.h"
#include "ipc/ipc_sync_client.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "tests/system/host_rig.h"

namespace system_test {
namespace {

using std::chrono::milliseconds;

// A connection to a link that writes whatever it is told and reads only when asked.
class RawPeer {
 public:
  explicit RawPeer(const std::string& path) : fd_(base::ConnectUnixSocket(path)) {}
  ~RawPeer() {
    if (fd_ >= 0)
      close(fd_);
  }
  bool connected() const { return fd_ >= 0; }

  // Writes |bytes| whole unless the socket stays full for |patience|; the bytes written.
  size_t Write(const std::string& bytes, milliseconds patience) {
    size_t written = 0;
    pollfd entry = {fd_, POLLOUT, 0};
    while (written < bytes.size() && poll(&entry, 1, static_cast<int>(patience.count())) > 0) {
      const ssize_t count =
          send(fd_, bytes.data() + written, bytes.size() - written, MSG_NOSIGNAL | MSG_DONTWAIT);
      if (count < 0 && errno != EAGAIN)
        break;
      written += count > 0 ? static_cast<size_t>(count) : 0;
    }
    return written;
  }

  // Reads the host's hello and then counts whole messages (a 20-byte header with the
  // payload's size first) until |count| have come; the number that came within kTimeout.
  size_t CountMessages(size_t count) {
    size_t seen = 0;
    std::string input;
    char buffer[65536];
    const auto deadline = std::chrono::steady_clock::now() + kTimeout;
    while (seen <= count && std::chrono::steady_clock::now() < deadline) {
      pollfd entry = {fd_, POLLIN, 0};
      const ssize_t got =
          poll(&entry, 1, 100) > 0 ? recv(fd_, buffer, sizeof(buffer), MSG_DONTWAIT) : -1;
      if (got == 0 || (got < 0 && errno == ECONNRESET))
        break;
      input.append(buffer, got > 0 ? static_cast<size_t>(got) : 0);
      uint32_t payload = 0;
      while (seen <= count && input.size() >= 20) {
        std::memcpy(&payload, input.data(), sizeof(payload));
        if (input.size() < 20 + payload)
          break;
        input.erase(0, 20 + payload);
        ++seen;
      }
    }
    return seen > 0 ? seen - 1 : 0;  // the hello is not counted
  }

 private:
  int fd_;
};

std::string RequestBytes(const std::string& method) {
  base::DictionaryValue results;
  int code = 0;
  AvMsg_ServiceInvoke request(method, *Args("x"), &results, &code);
  return std::string(static_cast<const char*>(request.data()), request.size());
}

// One host for the cases that need a willing receiver.
class HostilePeersTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    rig_ = new HostRig("hostile");
    HostRig::Setup setup;
    setup.reply_limit_ms = 1000;
    ASSERT_TRUE(rig_->Start(setup));
  }
  static void TearDownTestSuite() {
    delete rig_;
    rig_ = nullptr;
  }

  // Whether a new client is served while whatever the test set up goes on.
  static bool AnotherClientIsServed() {
    IPC::SyncClient client;
    return client.Connect(rig_->link(), kTimeout) == IPC::SyncClient::RESULT_OK &&
           Invoke(&client, "GetSpeakerVolume", *Args("x")) == R"(0 {"speaker_volume":0})";
  }

  static HostRig* rig_;
};

HostRig* HostilePeersTest::rig_ = nullptr;

TEST_F(HostilePeersTest, APeerThatNeverReadsCostsABoundedAmountOfMemory) {
  const long before_kib = rig_->HostResidentKib();
  ASSERT_GT(before_kib, 0);
  // Up to 64 MiB of requests, written until the host stops reading them.
  std::string batch;
  const std::string request = RequestBytes("GetSpeakerVolume");
  while (batch.size() < 256 * 1024)
    batch += request;
  RawPeer flood(rig_->link());
  ASSERT_TRUE(flood.connected());
  size_t sent = 0;
  for (int i = 0; i < 256; ++i) {
    const size_t written = flood.Write(batch, milliseconds(500));
    sent += written;
    if (written < batch.size())
      break;
  }
  EXPECT_LT(sent, 64u * 1024 * 1024) << "the host never stopped reading";
  EXPECT_TRUE(AnotherClientIsServed());
  // The output queue's bound (256 KiB) and the socket buffers, with room for the allocator.
  EXPECT_LT(rig_->HostResidentKib() - before_kib, 16 * 1024);
  // The peer was paused, not dropped: once it reads, every whole request is answered.
  const size_t requests = sent / request.size();
  EXPECT_EQ(requests, flood.CountMessages(requests));
}

// A peer that breaks the framing is closed by its channel, in the channel's own tests.
TEST_F(HostilePeersTest, IdlePeersHoldNobodyUp) {
  RawPeer idle(rig_->link());
  ASSERT_TRUE(idle.connected());
  RawPeer half(rig_->link());  // leaves in the middle of a message
  const std::string request = RequestBytes("GetMicVolume");
  ASSERT_EQ(request.size() / 2, half.Write(request.substr(0, request.size() / 2), kTimeout));
  EXPECT_TRUE(AnotherClientIsServed());
}

TEST(HostilePeersRestartTest, ASimulatorKilledMidExchangeFailsThatRequestAndIsServedOnceBack) {
  HostRig rig("restart");
  HostRig::Setup setup;
  setup.sim_options = {"--delay-ms", "60000"};
  setup.reply_limit_ms = 30000;
  ASSERT_TRUE(rig.Start(setup));
  IPC::SyncClient client;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, client.Connect(rig.link(), kTimeout));
  std::string reply;
  std::thread exchange(
      [&] { reply = Invoke(&client, "SetPowerState", *Args("x", "power_state", "on")); });
  // The request reached the receiver, which now waits out its delay.
  EXPECT_EQ(R"({"name":"set_cec_receiver_on_off","args":{"onoff":true}})", rig.NextSimLine());
  rig.KillSimulator();
  exchange.join();
  EXPECT_EQ("100 {}", reply);
  ASSERT_TRUE(rig.StartSimulator({"--power", "on"}));
  EXPECT_EQ(R"(0 {"power_state":"on"})", Invoke(&client, "GetPowerState", *Args("x")));
}

}  // namespace
}  // namespace system_test
