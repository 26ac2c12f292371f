#include "tools/avctl/connection.h"

#include "ipc/ipc_message.h"
#include "ipc/ipc_sync_message.h"
#include "tools/avctl/command_context.h"

namespace avctl {

Connection::Connection(const std::string& path, const std::string& peer, CommandContext* context)
    : path_(path), peer_(peer), context_(context) {}

bool Connection::Connect() {
  const IPC::SyncClient::Result result = client_.Connect(path_, context_->timeout());
  if (result == IPC::SyncClient::RESULT_OK)
    return true;
  std::string reason = client_.error();
  // The client's own text repeats the path.
  const std::string repeated = "connect to " + path_ + ": ";
  if (reason.compare(0, repeated.size(), repeated) == 0)
    reason.erase(0, repeated.size());
  if (result == IPC::SyncClient::RESULT_TIMEOUT) {
    reason = "no answer within " + std::to_string(context_->options().timeout_ms) +
             " ms (the server is busy or does not answer)";
  }
  context_->Fail("cannot connect to " + path_ + ": " + reason);
  return false;
}

bool Connection::Exchange(IPC::SyncMessage* request) {
  const IPC::SyncClient::Result result = client_.Send(request, context_->timeout());
  return result == IPC::SyncClient::RESULT_OK || Report(result);
}

bool Connection::Post(IPC::Message* message) {
  const IPC::SyncClient::Result result = client_.SendMessage(message, context_->timeout());
  return result == IPC::SyncClient::RESULT_OK || Report(result);
}

IPC::SyncClient::Result Connection::Receive(std::chrono::milliseconds timeout,
                                            std::unique_ptr<IPC::Message>* message) {
  const IPC::SyncClient::Result result = client_.ReceiveMessage(timeout, message);
  if (result != IPC::SyncClient::RESULT_OK && result != IPC::SyncClient::RESULT_TIMEOUT)
    Report(result);
  return result;
}

bool Connection::Report(IPC::SyncClient::Result result) {
  switch (result) {
    case IPC::SyncClient::RESULT_TIMEOUT:
      context_->Fail("no reply from " + path_ + " within " +
                     std::to_string(context_->options().timeout_ms) + " ms");
      break;
    case IPC::SyncClient::RESULT_REPLY_ERROR:
      context_->Fail(peer_ + " answered with an error reply");
      break;
    case IPC::SyncClient::RESULT_CANNOT_DECODE:
      context_->Fail("the reply of " + peer_ + " cannot be decoded");
      break;
    case IPC::SyncClient::RESULT_DISCONNECTED:
    case IPC::SyncClient::RESULT_CONNECT_FAILED:
    case IPC::SyncClient::RESULT_OK:
      context_->Fail("lost the connection to " + path_ + ": " + client_.error());
      break;
  }
  return false;
}

}  // namespace avctl
