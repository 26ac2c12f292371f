// Loads components the way the platform's runtime does and drives them through their
// lives: open the library, GetComponent, Init, QueryInterface("plugin_manager_itf"), one
// OpenLink per link; at the end Destroy, the last component loaded first.

#ifndef TOOLS_TARN_HOST_COMPONENT_HOST_H_
#define TOOLS_TARN_HOST_COMPONENT_HOST_H_

#include <memory>
#include <string>
#include <vector>

namespace runtime {
class ComponentLibrary;
class Runtime;
}  // namespace runtime

namespace tarn_host {

struct ComponentConfig;

class ComponentHost {
 public:
  // The interface every hosted component must hand out.
  static const char kManagerInterface[];

  // |runtime| is not owned and is handed to each component's Init.
  explicit ComponentHost(runtime::Runtime* runtime);
  // Destroys the components still loaded.
  ~ComponentHost();
  ComponentHost(const ComponentHost&) = delete;
  ComponentHost& operator=(const ComponentHost&) = delete;

  // Loads the component of |config| and opens its links. On a failure the component is
  // destroyed again if it was initialised, and |*error| names the library and what went
  // wrong. A library that is loaded already (under any name) is refused before Init.
  bool Load(const ComponentConfig& config, std::string* error);

  // Destroys every loaded component, the last loaded first. The libraries stay mapped.
  void DestroyAll();

  size_t component_count() const { return loaded_.size(); }

 private:
  // Queries the interface and opens the links of the initialised component of |library|.
  bool Connect(const ComponentConfig& config,
               runtime::ComponentLibrary* library,
               std::string* error);

  runtime::Runtime* const runtime_;                                 // not owned
  std::vector<std::unique_ptr<runtime::ComponentLibrary>> loaded_;  // in load order
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_COMPONENT_HOST_H_
