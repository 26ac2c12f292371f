// Test helper for system tests: the programs of the build tree run as users run them, each
// rig in a private folder of its own. tarn-host loads the AV plugin, with tarn-cec-sim or its
// built-in receiver behind the TV application framework's socket; avctl runs against it.

#ifndef TESTS_SYSTEM_HOST_RIG_H_
#define TESTS_SYSTEM_HOST_RIG_H_

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "base/test/child_process.h"
#include "base/values.h"
#include "ipc/ipc_sync_client.h"

namespace system_test {

const std::chrono::milliseconds kTimeout(10000);

bool Exists(const std::string& path);
std::string ReadFile(const std::string& path);

// How a program ended and what it wrote.
struct Outcome {
  int exit_code = -1;
  std::string out;
  std::string err;
};

// Runs |program| with |arguments| to its end; its stderr passes through |err_path|.
Outcome RunProgram(const std::string& program,
                   const std::vector<std::string>& arguments,
                   const std::string& err_path);

class HostRig {
 public:
  struct Setup {
    bool builtin_receiver = false;         // else tarn-cec-sim with |sim_options|
    std::vector<std::string> sim_options;  // after --socket
    int reply_limit_ms = 3000;             // the framework's reply time limit
    std::string log_level = "LOG_ERROR";
    std::vector<std::string> host_options;  // after --config
  };

  // |name| tells the rig's folder from other rigs of the same test program.
  explicit HostRig(const std::string& name);
  // Kills what still runs and removes the folder.
  ~HostRig();
  HostRig(const HostRig&) = delete;
  HostRig& operator=(const HostRig&) = delete;

  // Writes the host's configuration, starts the receiver and the host; true once the host
  // says it serves.
  bool Start(const Setup& setup);
  // Starts the simulator (again) with |sim_options|; true once it says it serves.
  bool StartSimulator(const std::vector<std::string>& sim_options);
  // Kills the simulator at once, leaving its socket file behind.
  void KillSimulator();

  // Runs avctl with this rig's link and control channel.
  Outcome Avctl(const std::vector<std::string>& arguments);

  // The next request line the simulator prints, without its time, or "<none>" when none
  // comes within |wait|; outcome lines on the way are skipped.
  std::string NextSimLine(std::chrono::milliseconds wait = kTimeout);
  // The same for the next outcome line.
  std::string NextSimOutcome(std::chrono::milliseconds wait = kTimeout);

  // The host's resident memory in KiB, from /proc; -1 when it cannot be read.
  long HostResidentKib();

  // The rig's folder, and a path in it.
  const std::string& dir() const { return dir_; }
  std::string Path(const std::string& name) const { return dir_ + "/" + name; }
  const std::string& link() const { return link_; }
  const std::string& control() const { return control_; }
  const std::string& cec() const { return cec_; }
  std::string config() const { return Path("config.xml"); }
  // What the host wrote to stderr so far.
  std::string HostLog() const { return ReadFile(Path("host.log")); }
  base::test::ChildProcess& host() { return host_; }
  base::test::ChildProcess& sim() { return sim_; }

 private:
  // The next line of the simulator, without its time, for which |wanted| holds.
  std::string NextSimLineWhere(bool (*wanted)(const std::string&), std::chrono::milliseconds wait);

  std::string dir_, cec_, link_, control_;
  base::test::ChildProcess sim_;
  base::test::ChildProcess host_;
};

// Invokes |method| with |args| over |client|: "code results-json", or the client's error.
std::string Invoke(IPC::SyncClient* client,
                   const std::string& method,
                   const base::DictionaryValue& args);

// The arguments {"device_id": |device_id|} plus |key|: |value| when |key| is not empty.
std::unique_ptr<base::DictionaryValue> Args(const std::string& device_id,
                                            const std::string& key = std::string(),
                                            const std::string& value = std::string());

}  // namespace system_test

#endif  // TESTS_SYSTEM_HOST_RIG_H_
