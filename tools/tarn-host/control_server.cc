#include "tools/tarn-host/control_server.h"

#include "base/logging.h"
#include "base/threading/thread.h"
#include "tools/tarn-host/control_client.h"

namespace tarn_host {

ControlServer::ControlServer(const std::string& path,
                             base::Thread* io_thread,
                             MethodInvoker* invoker,
                             TrafficMonitor* monitor)
    : path_(path), invoker_(invoker), monitor_(monitor), io_thread_(io_thread) {}

ControlServer::~ControlServer() {
  Stop();
}

bool ControlServer::Start(std::string* error) {
  if (io_thread_ == nullptr || io_thread_->message_loop() == nullptr) {
    *error = "no thread for the control channel";
    return false;
  }
  server_ = std::make_unique<IPC::ChannelServer>(path_, this);
  if (!server_->Listen(io_thread_->message_loop())) {
    *error = "cannot serve the control channel at " + path_;
    Stop();
    return false;
  }
  LOG_AT(logging::LOG_INFO) << "Control channel at " << path_;
  return true;
}

void ControlServer::Stop() {
  {
    // From here on no event reaches a client, and no client joins.
    std::lock_guard<std::mutex> lock(lock_);
    stopping_ = true;
    for (auto& client : clients_)
      client.second->Detach();
  }
  // Not under |lock_|: closing may still tell of peers that leave.
  if (server_)
    server_->Close();
  {
    std::lock_guard<std::mutex> lock(lock_);
    clients_.clear();
  }
  server_.reset();
}

size_t ControlServer::client_count() const {
  std::lock_guard<std::mutex> lock(lock_);
  return clients_.size();
}

size_t ControlServer::subscriber_count() const {
  std::lock_guard<std::mutex> lock(lock_);
  size_t count = 0;
  for (const auto& client : clients_)
    count += client.second->subscribed() ? 1 : 0;
  return count;
}

IPC::Channel::Listener* ControlServer::OnPeerConnected(IPC::Channel* channel) {
  std::lock_guard<std::mutex> lock(lock_);
  if (stopping_)
    return nullptr;
  auto client = std::make_unique<ControlClient>(channel, path_, invoker_, this, monitor_);
  ControlClient* listener = client.get();
  clients_[channel] = std::move(client);
  LOG_AT(logging::LOG_INFO) << "Control client connected (" << clients_.size() << " now)";
  return listener;
}

void ControlServer::OnPeerDisconnected(IPC::Channel* channel) {
  std::unique_ptr<ControlClient> client;
  {
    std::lock_guard<std::mutex> lock(lock_);
    auto it = clients_.find(channel);
    if (it == clients_.end())
      return;
    client = std::move(it->second);
    clients_.erase(it);
  }
  // Detached before the server deletes |channel|.
  client->Detach();
  LOG_AT(logging::LOG_INFO) << "Control client left";
}

}  // namespace tarn_host
