// Serves an application instance to other processes on a Unix socket: each request frame
// that arrives is handed to the handler, and its answer goes back on the same connection.
// A request read after its deadline is dropped unanswered; the handler never sees it.
//
//   ORVELL0300::CInstanceServer server(&handler);
//   std::string error;
//   if (!server.Start("/run/my.app.sock", &error)) ...
//   ...
//   server.Stop();

#ifndef TVAPP_INSTANCE_SERVER_H_
#define TVAPP_INSTANCE_SERVER_H_

#include <memory>
#include <string>

#include <thread>
#include <vector>
#include "base/posix/unix_domain_socket.h"

namespace ORVELL0300 {

class CMessageHandler;

class CInstanceServer {
 public:
  // At most this many connections are served at once; further ones are closed at once.
  static const size_t kMaxConnections = 32;

  // |handler| is not owned and must outlive the server. It is called on the server's
  // thread, one message at a time.
  explicit CInstanceServer(CMessageHandler* handler);
  // Stops the server if it runs.
  ~CInstanceServer();
  CInstanceServer(const CInstanceServer&) = delete;
  CInstanceServer& operator=(const CInstanceServer&) = delete;

  // Listens on |socket_path| and starts serving on a thread of its own, under the
  // socket-file rules of base/posix/unix_domain_socket.h: mode 0600, peers with this
  // process's effective uid only, a path a live server of another process holds refused
  // ("Address already in use"), a stale socket file replaced. False, with |error| saying
  // why, when the socket cannot be set up.
  bool Start(const std::string& socket_path, std::string* error);

  // Closes every connection, waits for the thread (and so for a message being handled)
  // and removes the socket file unless another server has replaced it since. Does nothing
  // when the server does not run.
  void Stop();

 private:
  struct Connection;

  bool Listen(const std::string& socket_path, std::string* error);
  void Run();
  void AcceptConnection();
  // Reads what arrived on |connection| and answers the complete requests. False when the
  // connection is to be closed: end of stream, an error or a malformed frame.
  bool ServeConnection(Connection* connection);

  CMessageHandler* const handler_;
  std::string socket_path_;
  int listen_fd_ = -1;
  base::SocketFileId socket_file_;
  // Writing to the second descriptor wakes the thread up to stop.
  int wake_fds_[2] = {-1, -1};
  std::vector<std::unique_ptr<Connection>> connections_;
  std::thread thread_;
};

}  // namespace ORVELL0300

#endif  // TVAPP_INSTANCE_SERVER_H_
