// A named server that serves several peers at once, each through its own IPC::Channel.
//
//   class Delegate : public IPC::ChannelServer::Delegate { ... };
//   IPC::ChannelServer server("/tmp/control", &delegate);
//   if (!server.Listen(io_thread.message_loop())) ...
//   ...
//   server.Close();
//
// The socket file follows the rules of base/posix/unix_domain_socket.h: mode 0600, a path
// that a live server in another process holds is refused, a stale socket file replaced, any
// other kind of file makes Listen() fail, and the file is removed on close unless another
// server has taken the path over since. A peer whose effective uid differs from the
// server's is refused: its connection is closed before the hello and the delegate's
// OnPeerDenied() runs. Every connection beyond kMaximumPeers is closed at once.
//
// Each accepted peer gets a channel that behaves as a MODE_NAMED_SERVER channel's side of a
// connection: it sends its hello at once, OnChannelConnected() runs when the peer's hello
// arrives, the framing rules hold (a peer that breaks them is dropped, and only that peer),
// Send() may be called from any thread, and the backpressure rules of ipc/ipc_channel.h
// hold for each peer on its own. Unlike a channel of its own, it never listens:
// when its peer leaves, its listener gets OnChannelError() and the server then reports the
// channel to the delegate's OnPeerDisconnected() and deletes it.
//
// Threads and ownership. Accepting, reading and every delegate and listener callback happen
// on the I/O thread, the thread of the loop given to Listen(). The peers' channels belong to
// the server: the delegate and listeners must not Close() or delete them. A channel may be
// used until OnPeerDisconnected() for it returns, and from any thread; a user that sends from
// other threads must make them stop inside OnPeerDisconnected() (e.g. by removing the channel,
// under its own lock, from wherever those threads find it), since the channel is deleted
// right after. Every channel the delegate accepted is reported to OnPeerDisconnected()
// exactly once, also when the server closes and when the I/O loop is destroyed before the
// server.
//
// Close() and the destructor may be called from any thread. From another thread they wait
// until the I/O thread has disconnected every peer, so that no callback runs after they
// return; they must therefore not be called from a thread that a running callback waits for.
// On the I/O thread they may be called from inside any callback and disconnect every peer
// before returning, except that a peer whose OnPeerConnected() is running and that the
// delegate accepts is disconnected right after OnPeerConnected() returns.

#ifndef IPC_IPC_CHANNEL_SERVER_H_
#define IPC_IPC_CHANNEL_SERVER_H_

#include <sys/types.h>

#include <cstddef>
#include <memory>
#include <string>

#include "ipc/ipc_channel.h"

namespace base {
class MessageLoop;
}

namespace IPC {

class ChannelServer {
 public:
  class Delegate {
   public:
    virtual ~Delegate();
    // A peer connected and passed the uid check; |channel| (owned by the server) has sent
    // its hello. Returns the listener for |channel| (not owned; it must stay valid until
    // OnPeerDisconnected() for |channel| returns), or null to refuse the peer: the channel
    // is then closed and deleted, without OnPeerDisconnected(). On the I/O thread.
    virtual Channel::Listener* OnPeerConnected(Channel* channel) = 0;
    // The peer of |channel| left, was dropped for breaking the framing rules, or the server
    // is closing; the channel's listener has already had OnChannelError(). The server
    // deletes |channel| when this returns. On the I/O thread (also while a Close() from
    // another thread waits for it).
    virtual void OnPeerDisconnected(Channel* channel) = 0;
    // A peer with another effective uid was refused. On the I/O thread.
    virtual void OnPeerDenied();
    // accept() failed; the server tries again after base::kAcceptRetryDelay. On the I/O
    // thread.
    virtual void OnListenError();
  };

  // Connections beyond this many peers are closed at once.
  static const size_t kMaximumPeers = Channel::kMaximumPeers;

  // |path| is the socket path (shorter than 108 bytes). |delegate| is not owned and must
  // outlive the server.
  ChannelServer(const std::string& path, Delegate* delegate);
  // Close().
  ~ChannelServer();
  ChannelServer(const ChannelServer&) = delete;
  ChannelServer& operator=(const ChannelServer&) = delete;

  // Binds the path, listens, and accepts on |io_loop| (not owned), the loop of the thread
  // that will accept, read and call the delegate and listeners. Any thread. False when the
  // socket cannot be set up (the reason is logged), or when called again after succeeding or
  // after Close().
  bool Listen(base::MessageLoop* io_loop);

  // Disconnects every peer (each channel's listener gets OnChannelError(), then the delegate
  // OnPeerDisconnected()), closes the listening socket and removes the socket file. Any
  // thread; no callback runs after it returns.
  void Close();

  // The peers currently served. Any thread.
  size_t peer_count() const;

  // Makes the server require |uid| of its peers instead of its own effective uid, so that a
  // test can see a peer refused.
  void SetPeerUidForTesting(uid_t uid);

  const std::string& path() const { return path_; }

 private:
  class Core;

  const std::string path_;
  // Shared with the tasks the server posts to its I/O loop, which may run after the server
  // itself is gone.
  std::shared_ptr<Core> core_;
};

}  // namespace IPC

#endif  // IPC_IPC_CHANNEL_SERVER_H_
