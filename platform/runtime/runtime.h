// The platform runtime that loads components: the configuration options its host gives it,
// its threads and its reflection registry. One per process.

#ifndef RUNTIME_RUNTIME_H_
#define RUNTIME_RUNTIME_H_

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <string>

template <typename Type>
struct LeakySingletonTraits;

namespace base {
class Thread;
}  // namespace base

namespace runtime {

class Reflection;

class Runtime {
 public:
  static Runtime* GetInstance();

  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  // Takes |options| (name to value) as the whole configuration, in place of any given
  // before. The runtime reads no file and no environment: its host hands it the options,
  // tarn-host those of its config.xml. Until then there are none.
  void SetConfigOptions(const std::map<std::string, std::string>& options);

  // Sets |value| to the option's text; leaves it empty and returns false when the
  // configuration has no such option.
  virtual bool GetConfigOption(const std::string& key, std::string& value) const;

  // The number of runtime threads.
  static const int kThreadCount = 2;

  // Runtime thread |id|, 0 to kThreadCount - 1, started on first use; null for another id.
  // Thread 0 is the control thread, thread 1 serves components' links. The runtime owns
  // them.
  virtual base::Thread* GetThread(int id);

  // Stops the runtime threads (their pending tasks run first). Components must be
  // destroyed first. GetThread() starts them again.
  void StopThreads();

  // The reflection registry through which the runtime calls components' methods by name,
  // or null when the runtime offers none.
  virtual Reflection* GetReflection();

  // Makes GetReflection() offer |reflection| (not owned; null for none) from now on. For
  // tests of components; they put back what GetReflection() gave before.
  void SetReflectionForTesting(Reflection* reflection);

 protected:
  Runtime();
  virtual ~Runtime();

 private:
  friend struct LeakySingletonTraits<Runtime>;

  std::mutex threads_lock_;
  std::unique_ptr<base::Thread> threads_[kThreadCount];  // guarded by |threads_lock_|

  Reflection* const reflection_;  // owned; lives as long as the process, like the runtime
  std::atomic<Reflection*> offered_reflection_;  // what GetReflection() gives

  mutable std::mutex options_lock_;
  std::map<std::string, std::string> options_;  // guarded by |options_lock_|
};

}  // namespace runtime

#endif  // RUNTIME_RUNTIME_H_
