// The platform runtime that loads components: its configuration options, its threads and
// its reflection registry. One per process.

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

  // Which configuration file the options come from. Until this is called the runtime reads
  // $TARN_CONFIG, or ./config.xml when that is unset, the first time an option is needed.
  // Reads the file now; a malformed file writes one error line naming the file and the
  // line, leaves no options and returns false.
  bool LoadConfigFile(const std::string& path);

  // Sets |value| to the option's text; leaves it empty and returns false when the
  // configuration has no such option.
  virtual bool GetConfigOption(const std::string& key, std::string& value) const;

  // Sets or replaces one option, on top of what the file gave.
  void SetConfigOption(const std::string& key, const std::string& value);

  // Takes |options| as the whole configuration, in place of a file: no file is read until
  // LoadConfigFile() is called. For a host that has its configuration from elsewhere.
  void SetConfigOptions(const std::map<std::string, std::string>& options);

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

  // Forgets every option and which file they came from; the next look-up reads the
  // default file again.
  void ResetConfigForTesting();

 protected:
  Runtime();
  virtual ~Runtime();

 private:
  friend struct LeakySingletonTraits<Runtime>;

  // Reads the default file if no file was read yet. Needs |lock_| held.
  void EnsureConfigLoadedLocked() const;
  bool LoadConfigFileLocked(const std::string& path) const;

  std::mutex threads_lock_;
  std::unique_ptr<base::Thread> threads_[kThreadCount];  // guarded by |threads_lock_|

  Reflection* const reflection_;  // owned; lives as long as the process, like the runtime
  std::atomic<Reflection*> offered_reflection_;  // what GetReflection() gives

  mutable std::mutex lock_;
  mutable bool config_loaded_ = false;
  mutable std::map<std::string, std::string> options_;
};

}  // namespace runtime

#endif  // RUNTIME_RUNTIME_H_
