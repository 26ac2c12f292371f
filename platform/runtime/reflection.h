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

  // Registers |container| under the three names, replacing (and destroying, as
  // RemoveMethod does) an earlier registration of the same names. Takes ownership of
  // |container|.
  virtual bool AddMethod(const std::string& component,
                         const std::string& class_name,
                         const std::string& method,
                         const std::string& return_type,
                         const std::vector<std::string>& params_type,
                         FunctionMethodContainerBase* container);

  // Forgets the method and destroys its container; false when it was not registered.
  // Waits for the calls of that method running on other threads, so that its code may be
  // unloaded once this returns. A method may remove itself: its container is then
  // destroyed when that call returns.
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
  // registered types. False when the method is not registered. The method runs without
  // the registry's lock, concurrently with other calls: it may register, remove and
  // invoke methods, and wait for threads that do, but not for a thread that is removing
  // or replacing that same method.
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
  struct Entry;

  // Destroys the container of |entry|, taken out of the table, once no call of it runs.
  static void Retire(std::shared_ptr<Entry> entry);

  mutable std::shared_mutex lock_;
  // A call shares its entry with the table until it has returned.
  std::map<Key, std::shared_ptr<Entry>> methods_;
};

}  // namespace runtime

#endif  // RUNTIME_REFLECTION_H_
