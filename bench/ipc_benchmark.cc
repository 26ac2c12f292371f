// Round-trip time of a small message between two processes:
// - over a bare Unix socket pair, with blocking reads and writes: the floor;
// - as a sync request through IPC::SyncClient to an IPC::Channel served by a base::Thread
//   in another process, whose listener replies at once on the I/O thread.
// Both exchange the same 28-byte request and 28-byte reply.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>

#include "base/synchronization/waitable_event.h"
#include "base/threading/thread.h"
#include "base/tuple.h"
#include "bench/raw_ping_pong.h"
#include "benchmark/benchmark.h"
#include "ipc/ipc_channel.h"
#include "ipc/ipc_message_utils.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/ipc_sync_message.h"

namespace {

const uint32_t kEchoRequestType = 0xBE4C0001;
const std::chrono::seconds kTimeout(5);

IPC::SyncMessage* NewEchoRequest(int value, int* echoed) {
  IPC::SyncMessage* request =
      new IPC::SyncMessage(1, kEchoRequestType, IPC::Message::PRIORITY_NORMAL,
                           new IPC::ParamDeserializer<Tuple1<int&>>(MakeRefTuple(*echoed)));
  request->WriteInt(value);
  return request;
}

void WaitForChild(pid_t child) {
  int status = 0;
  waitpid(child, &status, 0);
}

void BM_RawUnixSocketPingPong(benchmark::State& state) {
  int unused = 0;
  std::unique_ptr<IPC::SyncMessage> request(NewEchoRequest(7, &unused));
  bench::RunRawUnixSocketPingPong(state, request->size());
}
BENCHMARK(BM_RawUnixSocketPingPong)->UseRealTime()->Repetitions(10)->ReportAggregatesOnly(true);

// Replies to each echo request on the I/O thread, as soon as it is read.
class EchoListener : public IPC::Channel::Listener {
 public:
  explicit EchoListener(base::WaitableEvent* peer_left) : peer_left_(peer_left) {}
  void set_channel(IPC::Channel* channel) { channel_ = channel; }

  bool OnMessageReceived(const IPC::Message& message) override {
    PickleIterator iter = IPC::SyncMessage::GetDataIterator(&message);
    int value = 0;
    IPC::Message* reply = IPC::SyncMessage::GenerateReply(&message);
    if (iter.ReadInt(&value))
      reply->WriteInt(value);
    else
      reply->set_reply_error();
    return channel_->Send(reply);
  }
  void OnChannelError() override { peer_left_->Signal(); }

 private:
  IPC::Channel* channel_ = nullptr;  // not owned
  base::WaitableEvent* peer_left_;   // not owned
};

// The server process: serves one client, then ends.
void RunEchoServer(const std::string& path) {
  base::Thread io_thread("bench_io");
  if (!io_thread.Start())
    _exit(1);
  base::WaitableEvent peer_left(true, false);
  EchoListener listener(&peer_left);
  {
    IPC::Channel channel(path, IPC::Channel::MODE_NAMED_SERVER, &listener);
    listener.set_channel(&channel);
    if (!channel.Connect(io_thread.message_loop()))
      _exit(1);
    peer_left.Wait();
  }
  io_thread.Stop();
  _exit(0);
}

void BM_SyncClientRoundTrip(benchmark::State& state) {
  const std::string path = "/tmp/tarn-bench-" + std::to_string(getpid());
  unlink(path.c_str());
  const pid_t child = fork();
  if (child == 0)
    RunEchoServer(path);

  IPC::SyncClient client;
  const auto deadline = std::chrono::steady_clock::now() + kTimeout;
  while (client.Connect(path, kTimeout) != IPC::SyncClient::RESULT_OK) {
    if (std::chrono::steady_clock::now() > deadline) {
      state.SkipWithError(("cannot reach the server: " + client.error()).c_str());
      kill(child, SIGTERM);
      WaitForChild(child);
      return;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  int value = 0;
  for (auto _ : state) {
    int echoed = -1;
    if (client.Send(NewEchoRequest(value, &echoed), kTimeout) != IPC::SyncClient::RESULT_OK ||
        echoed != value) {
      state.SkipWithError(("round trip failed: " + client.error()).c_str());
      break;
    }
    ++value;
  }
  client.Close();
  WaitForChild(child);
}
BENCHMARK(BM_SyncClientRoundTrip)->UseRealTime()->Repetitions(10)->ReportAggregatesOnly(true);

}  // namespace

BENCHMARK_MAIN();
