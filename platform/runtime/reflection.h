// The runtime's reflection registry: functions of loaded components, registered under a
// component name, a class name and a method name, that the runtime can call by name.

#ifndef RUNTIME_REFLECTION_H_
#define RUNTIME_REFLECTION_H_

#include <map>
#include <memory>
#include <shared_mutex>
#include <string>
#include <tuple>
#include <vector>

namespace runtime {

class FunctionMethodContainerBase;

class Reflection {
 public:
  // What a registration records besides its container.
  struct MethodInfo {
    std::string return_type;
    std::vector<std::string> params_type;
  };

  Reflection();
  virtual ~Reflection();
  Reflection(const Reflection&) = delete;
  Reflection& operator=(const Reflection&) = delete;

  // Splits a signature text such as "bool (std::string, int)" into its return type
  // ("bool") and its parameter types ({"std::string", "int"}), each trimmed of blanks.
  // "()" and "(void)" have no parameters. Both outputs are replaced. False, with both
  // outputs emptied, when the text is not of that form.
  virtual bool ParseSignature(const std::string& signature,
                              std::string& return_type,
                              std::vector<std::string>& params_type);

  // Registers |container| under the three names, replacing (and destroying) an earlier
  // registration of the same names. Takes ownership of |container|.
  virtual bool AddMethod(const std::string& component,
                         const std::string& class_name,
                         const std::string& method,
                         const std::string& return_type,
                         const std::vector<std::string>& params_type,
                         FunctionMethodContainerBase* container);

  // Forgets the method and destroys its container; false when it was not registered.
  // Waits for calls of registered methods that are running.
  virtual bool RemoveMethod(const std::string& component,
                            const std::string& class_name,
                            const std::string& method,
                            const std::string& return_type,
                            const std::vector<std::string>& params_type);

  // Looks a registration up; false when there is none.
  virtual bool GetMethod(const std::string& component,
                         const std::string& class_name,
                         const std::string& method,
                         MethodInfo* info) const;

  // Calls a registered method: |ret| receives its result, |obj| is the object for a member
  // function, |argv| holds one pointer per parameter; the caller makes them match the
  // registered types. False when the method is not registered. Registered methods may run
  // concurrently; they must not register or remove methods themselves.
  virtual bool Invoke(const std::string& component,
                      const std::string& class_name,
                      const std::string& method,
                      void* ret,
                      void* obj,
                      void** argv);

  // The number of registrations under |component|.
  size_t CountMethods(const std::string& component) const;

 private:
  typedef std::tuple<std::string, std::string, std::string> Key;
  struct Entry {
    MethodInfo info;
    std::unique_ptr<FunctionMethodContainerBase> container;
  };

  mutable std::shared_mutex lock_;
  std::map<Key, Entry> methods_;
};

}  // namespace runtime

#endif  // RUNTIME_REFLECTION_H_
