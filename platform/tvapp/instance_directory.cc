#include "tvapp/instance_directory.h"

#include <sys/un.h>

#include "base/posix/unix_domain_socket.h"
#include "tvapp/local_endpoint.h"
#include "tvapp/remote_endpoint.h"
#include "tvapp/unix_socket.h"

namespace ORVELL0300 {

// static
CInstanceDirectory* CInstanceDirectory::GetInstance() {
  return Singleton<CInstanceDirectory, LeakySingletonTraits<CInstanceDirectory>,
                   CInstanceDirectory>::get();
}

CInstanceDirectory::CInstanceDirectory() = default;

CInstanceDirectory::~CInstanceDirectory() = default;

bool CInstanceDirectory::AddLocalInstance(const std::string& name, CMessageHandler* handler) {
  if (name.empty() || !handler)
    return false;
  {
    std::lock_guard<std::mutex> lock(lock_);
    if (instances_.count(name))
      return false;
  }
  // The endpoint starts a thread, so it is made outside the lock; a rival registration of
  // the same name made meanwhile wins, and this endpoint is closed again.
  auto endpoint = std::make_shared<CLocalEndpoint>(handler);
  if (Add(name, endpoint))
    return true;
  endpoint->Close();
  return false;
}

bool CInstanceDirectory::AddRemoteInstance(const std::string& name,
                                           const std::string& socket_path) {
  sockaddr_un address;
  socklen_t length = 0;
  if (name.empty() || !base::FillUnixAddress(socket_path, &address, &length))
    return false;
  return Add(name, std::make_shared<CRemoteEndpoint>(socket_path));
}

bool CInstanceDirectory::Add(const std::string& name, std::shared_ptr<CInstanceEndpoint> endpoint) {
  std::lock_guard<std::mutex> lock(lock_);
  return instances_.emplace(name, Instance{next_id_++, std::move(endpoint)}).second;
}

bool CInstanceDirectory::RemoveInstance(const std::string& name) {
  std::shared_ptr<CInstanceEndpoint> endpoint;
  {
    std::lock_guard<std::mutex> lock(lock_);
    auto it = instances_.find(name);
    if (it == instances_.end())
      return false;
    endpoint = std::move(it->second.endpoint);
    instances_.erase(it);
  }
  endpoint->Close();
  return true;
}

int CInstanceDirectory::GetInstanceID(const std::string& name) const {
  std::lock_guard<std::mutex> lock(lock_);
  auto it = instances_.find(name);
  return it == instances_.end() ? kInvalidInstanceID : it->second.id;
}

std::shared_ptr<CInstanceEndpoint> CInstanceDirectory::FindEndpoint(int instance_id,
                                                                    std::string* name) const {
  std::lock_guard<std::mutex> lock(lock_);
  for (const auto& entry : instances_) {
    if (entry.second.id != instance_id)
      continue;
    if (name)
      *name = entry.first;
    return entry.second.endpoint;
  }
  return nullptr;
}

}  // namespace ORVELL0300
