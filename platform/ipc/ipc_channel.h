// One end of an IPC link over a Unix domain stream socket whose path is the channel name.
//
//   IPC::Channel channel("/tmp/link", IPC::Channel::MODE_NAMED_SERVER, &listener);
//   if (!channel.Connect(io_thread.message_loop())) ...
//   channel.Send(message);   // from any thread
//
// Modes:
// - MODE_NAMED_SERVER binds the path and listens, under the socket-file rules of
//   base/posix/unix_domain_socket.h: mode 0600, peers of the same effective uid only (a peer
//   with another is refused: its connection is closed and the listener's OnChannelDenied()
//   runs), a path that a live server in another process holds is refused, a stale socket
//   file replaced, and the file removed on close unless another server has taken the path
//   over since (within one process a second server on a path takes it over from the first).
//   The server serves up to kMaximumPeers peers at once, each on its own connection with its
//   own hello and its own stream; connections beyond that are closed at once. Every peer's
//   messages reach the one listener, on the I/O thread, one at a time. A Send() made while a
//   message is being dispatched (inside OnMessageReceived(), on the I/O thread) goes to the
//   peer that sent that message; at any other time it goes to the peer if there is exactly
//   one, and fails otherwise. OnChannelConnected() runs for each peer's hello and
//   OnChannelError() for each peer that leaves; a peer that breaks the framing rules loses
//   only its own connection.
// - MODE_NAMED_CLIENT connects to the path once; when the server leaves, the channel stays
//   without a peer and Send() returns false.
// - MODE_SERVER and MODE_CLIENT behave as MODE_NAMED_SERVER and MODE_NAMED_CLIENT: this
//   platform passes no descriptors between processes, so a channel always meets its peer
//   through the path.
// A server that wants a channel object per peer is IPC::ChannelServer
// (ipc/ipc_channel_server.h), which a server channel is built on.
//
// Each side sends a hello as soon as the connection exists (routing MSG_ROUTING_NONE, type
// HELLO_MESSAGE_TYPE, payload: an int, its pid); OnChannelConnected() runs when the peer's
// arrives. Hellos are not passed to OnMessageReceived().
//
// A received message that is larger than kMaximumMessageSize (header included) or that
// claims file descriptors is a channel error: the peer is dropped without anything being
// allocated for what it claimed, and OnChannelError() runs.
//
// Backpressure. Send() never blocks on the peer: what the socket cannot take at once waits
// in the peer's output queue. While more than kReadPauseBytes wait for a peer, nothing more
// is read from it, so a peer that sends requests without reading the replies is not served
// until it reads, and costs the host no more memory; the other peers are served as usual. A
// Send() that would make a peer's queue exceed kMaximumQueuedBytes fails and drops that peer.
//
// Threads. Accepting, reading and every listener callback happen on the thread of the loop
// given to Connect(), the I/O thread; a message is dispatched right after it is read, on
// that thread. Send() may be called from any thread. A reply sent from inside
// OnMessageReceived() is written at once on the I/O thread. Close() and the destructor may
// be called from any thread, including from inside a listener callback; from another thread
// they wait until the I/O thread has finished any callback in progress and released the
// sockets, so that no callback runs after they return. They must therefore not be called
// from a thread that a running listener callback is waiting for. When the I/O loop is
// destroyed (its thread stopped) before the channel, the channel closes itself at that
// moment; Send() then returns false.

#ifndef IPC_IPC_CHANNEL_H_
#define IPC_IPC_CHANNEL_H_

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "ipc/ipc_message.h"

namespace base {
class MessageLoop;
}

namespace IPC {

class ChannelConnection;
class ChannelPeerRouter;

class Channel : public Message::Sender {
 public:
  enum Mode {
    MODE_NONE = 0,
    MODE_SERVER = 1,
    MODE_CLIENT = 2,
    MODE_NAMED_SERVER = 5,
    MODE_NAMED_CLIENT = 6,
  };

  // Told what happens on the channel. Every method runs on the I/O thread.
  class Listener {
   public:
    virtual ~Listener();
    // A message from the peer; it lives only for the call. The result is not used.
    virtual bool OnMessageReceived(const Message& message) = 0;
    // The peer's hello arrived, carrying |peer_pid|.
    virtual void OnChannelConnected(int32_t peer_pid);
    // The peer left or was dropped for breaking the framing rules.
    virtual void OnChannelError();
    // A peer with another effective uid was refused.
    virtual void OnChannelDenied();
    // The server could not accept a connection; it tries again a little later.
    virtual void OnChannelListenError();
  };

  // The largest message accepted or sent, its 20-byte header included.
  static constexpr size_t kMaximumMessageSize = 1024 * 1024;
  // While more than this many bytes wait to be written to a peer, nothing is read from it.
  static constexpr size_t kReadPauseBytes = 256 * 1024;
  // A peer with more than this many bytes waiting for it is dropped.
  static constexpr size_t kMaximumQueuedBytes = 4 * 1024 * 1024;
  // The peers a server channel serves at once.
  static constexpr size_t kMaximumPeers = 32;

  // |channel_name| is the socket path (shorter than 108 bytes). |listener| is not owned and
  // must outlive the channel.
  Channel(const std::string& channel_name, Mode mode, Listener* listener);
  // Closes the channel; any thread.
  ~Channel() override;
  Channel(const Channel&) = delete;
  Channel& operator=(const Channel&) = delete;

  // Sets the socket up (bind and listen, or connect) and watches it on |io_loop| (not
  // owned), the loop of the thread that will accept, read and call the listener. False when
  // it cannot, or when called a second time or after Close().
  bool Connect(base::MessageLoop* io_loop);

  // Stops the channel: the peers' connections and the server socket are closed and a named
  // server's socket file is removed, without telling the listener. Any thread; no listener
  // callback runs after it returns.
  void Close();

  // Sends |message| to the peer (see above for a server's peers). Takes ownership. False
  // when there is no such peer, the channel is closed, the message is larger than
  // kMaximumMessageSize or the connection has failed; true once the message is written or
  // queued behind earlier ones. Any thread.
  bool Send(Message* message) override;

  // The peers connected now: a client's server counts as one. Any thread.
  size_t peer_count() const;

  // The pid of the peer whose message is being dispatched (a server's), or of the peer (a
  // client's), as its hello gave it; -1 when there is none. On the I/O thread.
  int32_t peer_pid() const;

  // Makes a server require |uid| of its peers instead of its own effective uid, so that a
  // test can see a peer refused. Call before Connect(); a client ignores it.
  void SetPeerUidForTesting(uid_t uid);

  const std::string& channel_name() const { return channel_name_; }
  Mode mode() const { return mode_; }

 private:
  friend class ChannelServer;

  // For ChannelServer: a MODE_NAMED_SERVER channel serving |fd|, a connection accepted at
  // |channel_name|. Takes ownership of |fd|. Called on the thread of |io_loop| (not owned),
  // which it uses as Connect() would: the hello goes out at once and the connection is
  // watched. There is no listen socket: when the peer leaves, the listener gets
  // OnChannelError() and the channel stays closed. Null, with |fd| closed, when |io_loop| is
  // being destroyed.
  static std::unique_ptr<Channel> CreateForAcceptedConnection(const std::string& channel_name,
                                                              int fd,
                                                              Listener* listener,
                                                              base::MessageLoop* io_loop);

  // An accepted peer's channel.
  Channel(const std::string& channel_name, Listener* listener);

  bool IsServer() const;

  const std::string channel_name_;
  const Mode mode_;
  // A client's connection, or an accepted peer's. Shared with the tasks the connection posts
  // to its I/O loop, which may run after the channel itself is gone.
  std::shared_ptr<ChannelConnection> connection_;
  // A server's peers; null for a client or an accepted peer.
  // Shared with the router's own dispatch, which may outlive the channel by the callback that
  // destroyed it.
  std::shared_ptr<ChannelPeerRouter> router_;
};

}  // namespace IPC

#endif  // IPC_IPC_CHANNEL_H_
