// avctl's connection to one server -- the plugin's link or the host's control channel --
// with every failure turned into one clear line on the command's error stream.

#ifndef TOOLS_AVCTL_CONNECTION_H_
#define TOOLS_AVCTL_CONNECTION_H_

#include <chrono>
#include <memory>
#include <string>

#include "ipc/ipc_sync_client.h"

namespace IPC {
class Message;
class SyncMessage;
}  // namespace IPC

namespace avctl {

class CommandContext;

class Connection {
 public:
  // |path| is the server's socket; |peer| names the server in messages ("the plugin",
  // "the host"). |context| is not owned and must outlive the connection; its time-out
  // bounds the connect and every exchange.
  Connection(const std::string& path, const std::string& peer, CommandContext* context);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // False, with the reason written, when the server cannot be reached in time.
  bool Connect();

  // Sends |request| (takes ownership) and fills its out-variables from the reply. False,
  // with the reason written, when no usable reply came in time.
  bool Exchange(IPC::SyncMessage* request);

  // Sends |message| (takes ownership) without waiting for an answer. False, with the
  // reason written, when it cannot be sent in time.
  bool Post(IPC::Message* message);

  // Waits up to |timeout| for the next message. A time-out is returned without a message
  // written, so that a caller can wait in slices; any other failure is written.
  IPC::SyncClient::Result Receive(std::chrono::milliseconds timeout,
                                  std::unique_ptr<IPC::Message>* message);

  const std::string& path() const { return path_; }
  const std::string& peer() const { return peer_; }

 private:
  // Writes what |result| of an exchange means and returns false.
  bool Report(IPC::SyncClient::Result result);

  const std::string path_;
  const std::string peer_;
  CommandContext* const context_;  // not owned
  IPC::SyncClient client_;
};

}  // namespace avctl

#endif  // TOOLS_AVCTL_CONNECTION_H_
