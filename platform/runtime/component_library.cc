#include "runtime/component_library.h"

#include <dlfcn.h>

#include "runtime/component.h"

namespace runtime {

namespace {

const char kEntryName[] = "GetComponent";

std::string LoaderError() {
  const char* message = dlerror();
  return message ? message : "unknown error";
}

}  // namespace

// static
std::unique_ptr<ComponentLibrary> ComponentLibrary::Open(const std::string& library,
                                                         std::string* error) {
  dlerror();
  void* handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (handle == nullptr) {
    *error = "cannot load component library " + library + ": " + LoaderError();
    return nullptr;
  }
  dlerror();
  void* entry = dlsym(handle, kEntryName);
  if (entry == nullptr) {
    *error = "component library " + library + " has no " + kEntryName + ": " + LoaderError();
    dlclose(handle);
    return nullptr;
  }
  auto get_component = reinterpret_cast<GetComponentFunction>(entry);
  BaseComponent* component = get_component();
  if (component == nullptr) {
    *error = "component library " + library + ": " + kEntryName + " gave no component";
    dlclose(handle);
    return nullptr;
  }
  return std::unique_ptr<ComponentLibrary>(new ComponentLibrary(library, handle, component));
}

ComponentLibrary::ComponentLibrary(const std::string& library,
                                   void* handle,
                                   BaseComponent* component)
    : library_(library), handle_(handle), component_(component) {}

ComponentLibrary::~ComponentLibrary() {
  dlclose(handle_);  // the library was opened to stay mapped, so this only drops our count
}

}  // namespace runtime
