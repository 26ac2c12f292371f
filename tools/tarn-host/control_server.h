// tarn-host's control channel: a channel server that serves several clients at once, each
// through a ControlClient, on the runtime's control thread.

#ifndef TOOLS_TARN_HOST_CONTROL_SERVER_H_
#define TOOLS_TARN_HOST_CONTROL_SERVER_H_

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "ipc/ipc_channel_server.h"

namespace base {
class Thread;
}  // namespace base

namespace tarn_host {

class ControlClient;
class MethodInvoker;
class TrafficMonitor;

class ControlServer : public IPC::ChannelServer::Delegate {
 public:
  // Serves on the socket |path|, with |io_thread| reading the clients' requests and
  // running them; |monitor| (may be null) hears of every exchange and answers for the
  // status request. None is owned; all must outlive the server, and the thread must run
  // until Stop() has returned.
  ControlServer(const std::string& path,
                base::Thread* io_thread,
                MethodInvoker* invoker,
                TrafficMonitor* monitor);
  // Stops.
  ~ControlServer() override;
  ControlServer(const ControlServer&) = delete;
  ControlServer& operator=(const ControlServer&) = delete;

  // Listens. False, with |*error| set, when the socket cannot be set up.
  bool Start(std::string* error);

  // Stops serving: no event is sent to a client once this begins, every client is
  // disconnected and the socket file is gone when it returns. Not on the I/O thread.
  void Stop();

  // The clients connected now, and those of them subscribed to events. Any thread.
  size_t client_count() const;
  size_t subscriber_count() const;

  const std::string& path() const { return path_; }

  // IPC::ChannelServer::Delegate, on the I/O thread.
  IPC::Channel::Listener* OnPeerConnected(IPC::Channel* channel) override;
  void OnPeerDisconnected(IPC::Channel* channel) override;

 private:
  const std::string path_;
  MethodInvoker* const invoker_;   // not owned
  TrafficMonitor* const monitor_;  // not owned; may be null
  base::Thread* const io_thread_;  // not owned
  std::unique_ptr<IPC::ChannelServer> server_;

  mutable std::mutex lock_;
  bool stopping_ = false;  // guarded by |lock_|; refuses new clients once set
  std::map<IPC::Channel*, std::unique_ptr<ControlClient>> clients_;  // guarded by |lock_|
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_CONTROL_SERVER_H_
