// Test helper for system tests: tarn-host loading the AV plugin from the build tree, with
// tarn-cec-sim as the receiver behind the TV application framework's socket, each on
// sockets of their own in a private folder; and the device layer's side as an IPC client.

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

class HostRig {
 public:
  // |name| tells the rig's folder from other rigs of the same test.
  explicit HostRig(const std::string& name);
  // Kills what still runs and removes the folder.
  ~HostRig();
  HostRig(const HostRig&) = delete;
  HostRig& operator=(const HostRig&) = delete;

  // Starts the simulator with |sim_options| and the host with a framework reply time limit
  // of |reply_limit_ms|; true once the host says it serves.
  bool Start(const std::vector<std::string>& sim_options, int reply_limit_ms);

  // Starts the simulator (again) with |sim_options|; true once it listens.
  bool StartSimulator(const std::vector<std::string>& sim_options);
  // Kills the simulator at once, leaving its socket file behind.
  void KillSimulator();

  // Runs avctl against this rig; its stdout, and its exit code in |*exit_code|.
  std::string Avctl(const std::vector<std::string>& arguments, int* exit_code);

  // The next request line the simulator prints, without its time, or "<none>" when none
  // comes within |wait|; outcome lines on the way are skipped.
  std::string NextSimLine(std::chrono::milliseconds wait = kTimeout);
  // The same for the next outcome line.
  std::string NextSimOutcome(std::chrono::milliseconds wait = kTimeout);

  // The host's resident memory in KiB, from /proc; -1 when it cannot be read.
  long HostResidentKib();

  const std::string& link() const { return link_; }
  const std::string& control() const { return control_; }
  base::test::ChildProcess& host() { return host_; }

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
