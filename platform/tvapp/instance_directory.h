// The directory of application instances known to this process. An instance is a handler
// object in this process or a socket served by another process; either way it has a name
// and, while registered, an id by which messages reach it.
//
//   ORVELL0300::CInstanceDirectory* directory = ORVELL0300::CInstanceDirectory::GetInstance();
//   directory->AddLocalInstance("my.app", &handler);
//   ...
//   directory->RemoveInstance("my.app");

#ifndef TVAPP_INSTANCE_DIRECTORY_H_
#define TVAPP_INSTANCE_DIRECTORY_H_

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "base/memory/singleton.h"

namespace ORVELL0300 {

class CInstanceEndpoint;
class CMessageHandler;

// The id of no instance.
const int kInvalidInstanceID = -1;

class CInstanceDirectory {
 public:
  // The process's directory, created on first use and never destroyed.
  static CInstanceDirectory* GetInstance();

  CInstanceDirectory(const CInstanceDirectory&) = delete;
  CInstanceDirectory& operator=(const CInstanceDirectory&) = delete;

  // Registers |handler| as the instance |name|. |handler| is not owned and must stay
  // alive until RemoveInstance(name) has returned. False when |name| is empty or taken.
  bool AddLocalInstance(const std::string& name, CMessageHandler* handler);

  // Registers the instance |name| that another process serves on the Unix socket
  // |socket_path|. The socket need not exist yet. False when |name| is empty or taken or
  // |socket_path| cannot be a socket address.
  bool AddRemoteInstance(const std::string& name, const std::string& socket_path);

  // Unregisters |name|. Senders waiting for it fail at once; for a local instance this
  // returns once its handler is no longer running. False when |name| is not registered.
  // Must not be called from the instance's own handler.
  bool RemoveInstance(const std::string& name);

  // The id of the registered instance |name|, or kInvalidInstanceID. Each registration
  // gets a new id, so an id kept from an earlier registration reaches nothing.
  int GetInstanceID(const std::string& name) const;

  // The endpoint of the instance |instance_id|, or null; |*name| (when given) is set to
  // its name. The caller shares ownership, so the endpoint stays usable while the
  // instance is being removed.
  std::shared_ptr<CInstanceEndpoint> FindEndpoint(int instance_id,
                                                  std::string* name = nullptr) const;

 private:
  friend struct LeakySingletonTraits<CInstanceDirectory>;

  struct Instance {
    int id;
    std::shared_ptr<CInstanceEndpoint> endpoint;
  };

  CInstanceDirectory();
  ~CInstanceDirectory();

  bool Add(const std::string& name, std::shared_ptr<CInstanceEndpoint> endpoint);

  mutable std::mutex lock_;
  std::map<std::string, Instance> instances_;
  int next_id_ = 1;
};

}  // namespace ORVELL0300

#endif  // TVAPP_INSTANCE_DIRECTORY_H_
