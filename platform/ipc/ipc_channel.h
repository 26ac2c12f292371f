// One end of an IPC link over a Unix domain stream socket whose path is the channel name.
//
//   IPC::Channel channel("/tmp/link", IPC::Channel::MODE_NAMED_SERVER, &listener);
//   if (!channel.Connect(io_thread.message_loop())) ...
//   channel.Send(message);   // from any thread
//
// Modes:
// - MODE_NAMED_SERVER binds the path and listens. A socket file at the path is replaced,
//   whether it was left by a server that is gone or belongs to one still running (that one
//   keeps its connected peer, but new peers reach the newest server); any other kind of file
//   makes Connect() fail. The socket file is created with mode 0600 and removed when the
//   channel closes, unless another server has taken the path over since. The server serves one peer
//   at a time: while a peer is connected it accepts no other, so later peers wait in the listen
//   queue and are served, in order, once the current one leaves. A peer whose effective uid differs
//   from the server's is refused: its connection is closed and the listener's OnChannelDenied()
//   runs.
// - MODE_NAMED_CLIENT connects to the path once; when the server leaves, the channel stays
//   without a peer and Send() returns false.
// - MODE_SERVER and MODE_CLIENT behave as MODE_NAMED_SERVER and MODE_NAMED_CLIENT: this
//   platform passes no descriptors between processes, so a channel always meets its peer
//   through the path.
// A server for several peers at once is IPC::ChannelServer (ipc/ipc_channel_server.h): it
// gives each peer a channel that behaves as this server's side of the connection.
//
// Each side sends a hello as soon as the connection exists (routing MSG_ROUTING_NONE, type
// HELLO_MESSAGE_TYPE, payload: an int, its pid); OnChannelConnected() runs when the peer's
// arrives. Hellos are not passed to OnMessageReceived().
//
// A received message that is larger than kMaximumMessageSize (header included) or that
// claims file descriptors is a channel error: the peer is dropped without anything being
// allocated for what it claimed, OnChannelError() runs, and a server goes back to listening.
//
// Threads. Accepting, reading and every listener callback happen on the thread of the loop
// given to Connect(), the I/O thread; a message is dispatched right after it is read, on
// that thread. Send() may be called from any thread: writes are serialised, and a message
// that does not fit in the socket at once is queued and finished by the I/O thread, so
// Send() never blocks on the peer. A reply sent from inside OnMessageReceived() is written
// at once on the I/O thread. Close() and the destructor may be called from any thread,
// including from inside a listener callback; from another thread they wait until the I/O
// thread has finished any callback in progress and released the socket, so that no callback
// runs after they return. They must therefore not be called from a thread that a running
// listener callback is waiting for. When the I/O loop is destroyed (its thread stopped)
// before the channel, the channel closes itself at that moment without telling the
// listener; Send() then returns false.

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

  // Stops the channel: the peer's connection and the server socket are closed and a named
  // server's socket file is removed. Any thread; no listener callback runs after it returns.
  void Close();

  // Sends |message| to the current peer. Takes ownership. False when there is no peer, the
  // channel is closed, the message is larger than kMaximumMessageSize or the connection has
  // failed; true once the message is written or queued behind earlier ones. Any thread.
  bool Send(Message* message) override;

  // Makes the server require |uid| of its peers instead of its own effective uid, so that a
  // test can see a peer refused. Call before Connect().
  void SetPeerUidForTesting(uid_t uid);

  const std::string& channel_name() const { return channel_name_; }
  Mode mode() const { return mode_; }

 private:
  friend class ChannelServer;
  class ChannelImpl;

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

  const std::string channel_name_;
  const Mode mode_;
  // Shared with the tasks the channel posts to its I/O loop, which may run after the
  // channel itself is gone.
  std::shared_ptr<ChannelImpl> impl_;
};

}  // namespace IPC

#endif  // IPC_IPC_CHANNEL_H_
