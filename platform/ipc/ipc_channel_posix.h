// The socket work behind IPC::Channel: accepting, framing, reading and writing.
//
// State is split by thread. The I/O thread alone uses the descriptors' watches, the listen
// socket, the input buffer and the listener. The peer's descriptor and the output queue are
// guarded by |send_lock_|, since Send() writes from any thread; the I/O thread is the only
// one that changes the peer's descriptor, and it does so holding the lock.

#ifndef IPC_IPC_CHANNEL_POSIX_H_
#define IPC_IPC_CHANNEL_POSIX_H_

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "base/message_loop/message_loop.h"
#include "ipc/ipc_channel.h"
#include "ipc/unix_domain_socket_util.h"

namespace IPC {

class Channel::ChannelImpl : public base::MessageLoop::Watcher,
                             public base::MessageLoop::DestructionObserver,
                             public std::enable_shared_from_this<Channel::ChannelImpl> {
 public:
  // |listener| is not owned.
  ChannelImpl(const std::string& channel_name, Mode mode, Listener* listener);
  ~ChannelImpl() override;
  ChannelImpl(const ChannelImpl&) = delete;
  ChannelImpl& operator=(const ChannelImpl&) = delete;

  bool Connect(base::MessageLoop* io_loop);
  // Serves |fd|, a connection that a ChannelServer accepted, from the start: sends the hello
  // and watches the connection. Takes ownership of |fd|, closing it on failure. On the thread
  // of |io_loop|; false when that loop is being destroyed or the channel was used already.
  // Such a channel has no listen socket, so when its peer leaves it stays closed.
  bool ServeAcceptedConnection(int fd, base::MessageLoop* io_loop);
  void Close();
  bool Send(Message* message);
  void SetPeerUidForTesting(uid_t uid);

  // base::MessageLoop::Watcher:
  void OnFileCanReadWithoutBlocking(int fd) override;
  void OnFileCanWriteWithoutBlocking(int fd) override;

  // base::MessageLoop::DestructionObserver: the I/O loop goes away before the channel, which
  // closes itself without telling the listener.
  void WillDestroyCurrentMessageLoop() override;

 private:
  bool IsServer() const;

  // Set-up, on the thread that calls Connect().
  bool CreateServerSocket();
  bool ConnectToServer();

  // The rest runs on the I/O thread.
  void StartWatching();
  void WatchListenSocket();
  void AcceptPeer();
  void AdoptPeer(int fd);
  void ReadFromPeer();
  // Frames and dispatches newly read bytes. False when the peer was dropped or the channel
  // closed meanwhile: the caller must then leave the channel's state alone.
  bool ProcessIncoming(const char* data, size_t size);
  // Dispatches the whole messages at the front of |data|; |*consumed| is their size.
  bool DispatchMessages(const char* data, size_t size, size_t* consumed);
  bool DispatchMessage(const Message& message);
  // Whether the peer that |generation| names is still the channel's and the channel is open.
  bool StillServing(uint64_t generation) const;
  void FlushOutput();
  // Closes the peer's connection and tells the listener; a server with a listen socket
  // listens again.
  void DropPeer();
  void ResumeListening();
  // Closes everything; idempotent.
  void Teardown();
  void RemoveSocketFile();

  // Writes |data| or queues what does not fit; |send_lock_| is held.
  bool WriteLocked(const char* data, size_t size);
  // Makes sure the I/O thread watches for room to write; |send_lock_| is held.
  void RequestWriteWatchLocked();
  // On the I/O thread, |send_lock_| held.
  void StartWriteWatchLocked();
  void ClosePeerLocked();

  const std::string channel_name_;
  const Mode mode_;
  std::atomic<uid_t> expected_peer_uid_;
  // Not owned. Set by Connect(), and cleared under |send_lock_| once the channel is torn
  // down or the loop destroyed; other threads post to it only while holding |send_lock_|,
  // which keeps it alive.
  std::atomic<base::MessageLoop*> io_loop_{nullptr};
  std::atomic<bool> closing_{false};

  // Used on the I/O thread only (and by Connect() before the I/O thread sees the channel).
  Listener* listener_;                          // not owned; null once the channel is torn down
  base::MessageLoop* observed_loop_ = nullptr;  // the loop this watches for its destruction
  int listen_fd_ = -1;
  bool socket_file_created_ = false;
  SocketFileId socket_file_;
  base::MessageLoop::FileDescriptorWatcher listen_watcher_;
  base::MessageLoop::FileDescriptorWatcher read_watcher_;
  base::MessageLoop::FileDescriptorWatcher write_watcher_;
  std::string pending_input_;  // the start of a message whose rest has not arrived
  bool hello_received_ = false;
  uint64_t peer_generation_ = 0;  // counts dropped peers
  bool torn_down_ = false;

  std::mutex send_lock_;
  int peer_fd_ = -1;    // guarded by |send_lock_| for every thread but the I/O thread
  std::string output_;  // guarded by |send_lock_|: bytes the socket had no room for
  bool write_watch_requested_ = false;  // guarded by |send_lock_|
};

}  // namespace IPC

#endif  // IPC_IPC_CHANNEL_POSIX_H_
