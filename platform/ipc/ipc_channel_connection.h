// One connected stream of an IPC link: the hello, the framing of what arrives, and the
// bounded queue of what has not left yet. A client channel has one; a server gives one to
// each peer it accepts.
//
// Threads. Reading, dispatching and every listener callback happen on the I/O thread, the
// thread of the loop the connection was started on. Send() may be called from any thread.
// Close() may be called from any thread, including from inside a listener callback; from
// another thread it waits until the I/O thread has finished any callback in progress and
// released the socket.
//
// Backpressure. Bytes that the socket cannot take at once wait in the connection's output
// queue, and the I/O thread finishes writing them as the peer reads. While more than
// Channel::kReadPauseBytes wait, the connection reads and dispatches nothing more from its
// peer: a peer that sends requests without reading the replies stops being served until it
// reads. A Send() that would make the queue exceed Channel::kMaximumQueuedBytes (only
// messages that are not replies can get there: events pushed to a peer that never reads)
// fails and drops the peer. So one peer costs at most its queue, one message being read and
// the read buffer, whatever it does.

#ifndef IPC_IPC_CHANNEL_CONNECTION_H_
#define IPC_IPC_CHANNEL_CONNECTION_H_

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "base/message_loop/message_loop.h"
#include "ipc/ipc_channel.h"

namespace IPC {

class ChannelConnection : public base::MessageLoop::Watcher,
                          public base::MessageLoop::DestructionObserver,
                          public std::enable_shared_from_this<ChannelConnection> {
 public:
  // |name| names the link in log lines. |listener| is not owned; it is called on the I/O
  // thread until Close() returns or the connection ends.
  ChannelConnection(const std::string& name, Channel::Listener* listener);
  ~ChannelConnection() override;
  ChannelConnection(const ChannelConnection&) = delete;
  ChannelConnection& operator=(const ChannelConnection&) = delete;

  // Connects to the server at |name|, sends the hello and watches the connection on
  // |io_loop| (not owned). Any thread. False when the server cannot be reached, the loop is
  // being destroyed, or the connection was started before.
  bool Connect(base::MessageLoop* io_loop);

  // Serves |fd|, a connection a server accepted: sends the hello and watches it on
  // |io_loop| (not owned), which must be the calling thread's. Takes ownership of |fd|,
  // closing it on failure. False when the loop is being destroyed or the connection was
  // started before.
  bool Serve(int fd, base::MessageLoop* io_loop);

  // Closes the connection without telling the listener; no callback runs once it returns.
  void Close();

  // Queues |message| for the peer. Takes ownership. False when the connection is closed,
  // the message is larger than Channel::kMaximumMessageSize, or the queue would exceed
  // Channel::kMaximumQueuedBytes (the peer is then dropped).
  bool Send(Message* message);

  // Whether the peer is connected: true from Connect() or Serve() until it leaves.
  bool is_connected() const { return connected_.load(); }

  // The pid the peer's hello carried, or -1 before it arrived. On the I/O thread.
  int32_t peer_pid() const { return peer_pid_; }

  // base::MessageLoop::Watcher:
  void OnFileCanReadWithoutBlocking(int fd) override;
  void OnFileCanWriteWithoutBlocking(int fd) override;

  // base::MessageLoop::DestructionObserver: the I/O loop goes away first; the connection
  // closes without telling the listener.
  void WillDestroyCurrentMessageLoop() override;

 private:
  // Takes |fd| as the connection's socket and writes the hello, before anything else can be
  // sent on it.
  void SendHello(int fd);
  // Starts watching; on the I/O thread.
  void Start();
  void ReadFromPeer();
  // Frames and dispatches newly read bytes. False when the connection ended meanwhile.
  bool ProcessIncoming(const char* data, size_t size);
  // Dispatches the whole messages at the front of |data| until the output queue is over
  // Channel::kReadPauseBytes; |*consumed| is their size. False when the connection ended.
  bool DispatchMessages(const char* data, size_t size, size_t* consumed);
  bool DispatchMessage(const Message& message);
  bool IsOpen() const { return !torn_down_ && !closing_.load(); }
  // Dispatches what was read before the reads paused, then reads again.
  void ResumeReading();
  void FlushOutput();
  // Ends the connection because the peer left or broke the rules, and tells the listener.
  void DropPeer();
  // Closes everything; idempotent.
  void Teardown();
  bool QueueOverPauseMark();

  // Writes |data| or queues what does not fit; |send_lock_| is held.
  bool WriteLocked(const char* data, size_t size);
  // Makes sure the I/O thread watches for room to write; |send_lock_| is held.
  void RequestWriteWatchLocked();
  // On the I/O thread, |send_lock_| held.
  void StartWriteWatchLocked();
  void CloseSocketLocked();

  const std::string name_;
  std::atomic<bool> closing_{false};
  std::atomic<bool> connected_{false};
  // Not owned. Set when the connection starts, cleared under |send_lock_| once it is torn
  // down or the loop destroyed; other threads post to it only while holding |send_lock_|.
  std::atomic<base::MessageLoop*> io_loop_{nullptr};

  // Used on the I/O thread only.
  Channel::Listener* listener_;                 // not owned; null once torn down
  base::MessageLoop* observed_loop_ = nullptr;  // the loop this watches for its destruction
  base::MessageLoop::FileDescriptorWatcher read_watcher_;
  base::MessageLoop::FileDescriptorWatcher write_watcher_;
  std::string pending_input_;  // read but not dispatched yet: a partial message, or paused
  bool reading_paused_ = false;
  int32_t peer_pid_ = -1;  // -1 until the peer's hello arrives
  bool torn_down_ = false;

  std::mutex send_lock_;
  int fd_ = -1;         // guarded by |send_lock_| for every thread but the I/O thread
  std::string output_;  // guarded by |send_lock_|: bytes the socket had no room for
  bool write_watch_requested_ = false;  // guarded by |send_lock_|
};

}  // namespace IPC

#endif  // IPC_IPC_CHANNEL_CONNECTION_H_
