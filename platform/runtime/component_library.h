// A component library opened the way the runtime opens it: the shared object is loaded,
// its exported GetComponent() is looked up and called, and the component it hands out is
// then driven through its virtual operations (Init, QueryInterface, OpenLink, Destroy).

#ifndef RUNTIME_COMPONENT_LIBRARY_H_
#define RUNTIME_COMPONENT_LIBRARY_H_

#include <memory>
#include <string>

namespace runtime {

class BaseComponent;

class ComponentLibrary {
 public:
  // Loads |library| (a path, or a name that the dynamic loader searches for) and asks it
  // for its component. Null when the file cannot be loaded, has no GetComponent, or that
  // hands out no component; |*error| then names the library and what the loader said.
  static std::unique_ptr<ComponentLibrary> Open(const std::string& library, std::string* error);

  // The library stays mapped: the runtime never deletes a component, and its singletons
  // live as long as the process.
  ~ComponentLibrary();
  ComponentLibrary(const ComponentLibrary&) = delete;
  ComponentLibrary& operator=(const ComponentLibrary&) = delete;

  const std::string& library() const { return library_; }
  // The library's component; not owned.
  BaseComponent* component() const { return component_; }

 private:
  ComponentLibrary(const std::string& library, void* handle, BaseComponent* component);

  const std::string library_;
  void* const handle_;              // the loader's handle
  BaseComponent* const component_;  // not owned
};

}  // namespace runtime

#endif  // RUNTIME_COMPONENT_LIBRARY_H_
