// The base class of every component that the runtime loads. A component library exports
// GetComponent(), which hands the runtime its one component; the runtime then calls the
// virtual operations below, in this order of declaration.

#ifndef RUNTIME_COMPONENT_H_
#define RUNTIME_COMPONENT_H_

#include <string>

#include "ipc/ipc_channel.h"

namespace runtime {

class Runtime;

class BaseComponent {
 public:
  BaseComponent();
  BaseComponent(const BaseComponent&) = delete;
  BaseComponent& operator=(const BaseComponent&) = delete;

  // Sets |*out| to the interface called |name|. The default knows none: false, |*out|
  // untouched.
  virtual bool QueryInterface(std::string name, void** out);
  // Keeps |runtime| (not owned). The default returns whether it is not null.
  virtual bool Init(Runtime* runtime);
  // The default does nothing and returns true.
  virtual bool Start();
  // The component's id; the default is "".
  virtual const char* GetComponentId();
  // Releases what the component holds, at the end of its life.
  virtual bool Destroy() = 0;
  // Opens an IPC link on |channel_name|. The default opens none: false.
  virtual bool OpenLink(std::string channel_name, IPC::Channel::Mode mode);
  // Writes the "COMPONENT_DESTROY is called" line with the stack that destroys it.
  virtual ~BaseComponent();

 protected:
  Runtime* runtime_ = nullptr;  // not owned
};

}  // namespace runtime

// The entry that the runtime looks up in a component library.
typedef runtime::BaseComponent* (*GetComponentFunction)();

#endif  // RUNTIME_COMPONENT_H_
