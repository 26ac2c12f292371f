#include "tests/system/host_rig.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "base/json/json_writer.h"
#include "ipc/ipc_sync_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"

namespace system_test {

bool Exists(const std::string& path) {
  struct stat info;
  return lstat(path.c_str(), &info) == 0;
}

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path).rdbuf();
  return text.str();
}

Outcome RunProgram(const std::string& program,
                   const std::vector<std::string>& arguments,
                   const std::string& err_path) {
  Outcome outcome;
  base::test::ChildProcess child;
  if (!child.Start(program, arguments, err_path))
    return outcome;
  outcome.out = child.ReadRest(kTimeout);
  outcome.exit_code = child.Wait(kTimeout);
  outcome.err = ReadFile(err_path);
  return outcome;
}

HostRig::HostRig(const std::string& name)
    // Short: a socket path must fit in 108 bytes.
    : dir_("/tmp/tarn-sys-" + std::to_string(getpid()) + "-" + name),
      cec_(dir_ + "/cec.sock"),
      link_(dir_ + "/link.sock"),
      control_(dir_ + "/control.sock") {
  std::filesystem::remove_all(dir_);
  mkdir(dir_.c_str(), 0700);
}

HostRig::~HostRig() {
  host_.Signal(SIGKILL);
  sim_.Signal(SIGKILL);
  host_.Wait(kTimeout);
  sim_.Wait(kTimeout);
  std::filesystem::remove_all(dir_);
}

bool HostRig::Start(const Setup& setup) {
  if (!setup.builtin_receiver && !StartSimulator(setup.sim_options))
    return false;
  const std::string endpoint = setup.builtin_receiver ? "builtin" : "unix:" + cec_;
  std::ofstream(config()) << "<config>\n"
                          << "  <option name=\"reply_time_limit_ms\" value=\""
                          << setup.reply_limit_ms << "\"/>\n"
                          << "  <option name=\"min_log_level\" value=\"" << setup.log_level
                          << "\"/>\n"
                          << "  <component library=\"" << TARN_AV_PLUGIN_PATH << "\">\n"
                          << "    <link channel=\"" << link_ << "\" mode=\"named_server\"/>\n"
                          << "  </component>\n"
                          << "  <application name=\"nimbara.native.cec\" endpoint=\"" << endpoint
                          << "\"/>\n"
                          << "  <control channel=\"" << control_ << "\"/>\n"
                          << "</config>\n";
  std::vector<std::string> arguments = {"--config", config()};
  arguments.insert(arguments.end(), setup.host_options.begin(), setup.host_options.end());
  std::string ready;
  return host_.Start(TARN_HOST_PATH, arguments, Path("host.log")) &&
         host_.ReadLine(kTimeout, &ready) &&
         ready == "tarn-host: serving (link " + link_ + ", control " + control_ + ")";
}

bool HostRig::StartSimulator(const std::vector<std::string>& sim_options) {
  std::vector<std::string> arguments = {"--socket", cec_};
  arguments.insert(arguments.end(), sim_options.begin(), sim_options.end());
  std::string serving;
  return sim_.Start(TARN_CEC_SIM_PATH, arguments) && sim_.ReadLine(kTimeout, &serving) &&
         serving == "tarn-cec-sim: serving nimbara.native.cec on " + cec_;
}

void HostRig::KillSimulator() {
  sim_.Signal(SIGKILL);
  sim_.Wait(kTimeout);
}

Outcome HostRig::Avctl(const std::vector<std::string>& arguments) {
  std::vector<std::string> all = {"--socket", link_, "--control", control_};
  all.insert(all.end(), arguments.begin(), arguments.end());
  return RunProgram(TARN_AVCTL_PATH, all, Path("avctl.err"));
}

std::string HostRig::NextSimLine(std::chrono::milliseconds wait) {
  return NextSimLineWhere([](const std::string& line) { return line.find("{\"name\"") == 0; },
                          wait);
}

std::string HostRig::NextSimOutcome(std::chrono::milliseconds wait) {
  return NextSimLineWhere([](const std::string& line) { return line.find("{\"name\"") != 0; },
                          wait);
}

std::string HostRig::NextSimLineWhere(bool (*wanted)(const std::string&),
                                      std::chrono::milliseconds wait) {
  const auto deadline = std::chrono::steady_clock::now() + wait;
  std::string line;
  while (sim_.ReadLine(std::chrono::duration_cast<std::chrono::milliseconds>(
                           deadline - std::chrono::steady_clock::now()),
                       &line)) {
    if (!wanted(line))
      continue;
    // Every line ends with ,"time":"HH:MM:SS.mmm"}.
    const std::string::size_type time = line.rfind(",\"time\":");
    return time == std::string::npos ? line : line.substr(0, time) + "}";
  }
  return "<none>";
}

long HostRig::HostResidentKib() {
  std::ifstream status("/proc/" + std::to_string(host_.pid()) + "/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, 6, "VmRSS:") == 0)
      return std::stol(line.substr(6));
  }
  return -1;
}

std::string Invoke(IPC::SyncClient* client,
                   const std::string& method,
                   const base::DictionaryValue& args) {
  base::DictionaryValue results;
  int code = -1;
  const IPC::SyncClient::Result sent =
      client->Send(new AvMsg_ServiceInvoke(method, args, &results, &code), kTimeout);
  if (sent != IPC::SyncClient::RESULT_OK)
    return client->error();
  std::string json;
  base::JSONWriter::Write(&results, &json);
  return std::to_string(code) + " " + json;
}

std::unique_ptr<base::DictionaryValue> Args(const std::string& device_id,
                                            const std::string& key,
                                            const std::string& value) {
  auto args = std::make_unique<base::DictionaryValue>();
  args->SetString("device_id", device_id);
  if (!key.empty())
    args->SetString(key, value);
  return args;
}

}  // namespace system_test
