#include "tests/system/host_rig.h"

#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

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

HostRig::HostRig(const std::string& name) {
  dir_ = "/tmp/tarn-sys-" + std::to_string(getpid()) + "-" + name;
  mkdir(dir_.c_str(), 0700);
  cec_ = dir_ + "/cec.sock";
  link_ = dir_ + "/link.sock";
  control_ = dir_ + "/control.sock";
}

HostRig::~HostRig() {
  host_.Signal(SIGKILL);
  sim_.Signal(SIGKILL);
  host_.Wait(kTimeout);
  sim_.Wait(kTimeout);
  for (const std::string& path : {cec_, link_, control_, dir_ + "/config.xml"})
    unlink(path.c_str());
  rmdir(dir_.c_str());
}

bool HostRig::Start(const std::vector<std::string>& sim_options, int reply_limit_ms) {
  if (!StartSimulator(sim_options))
    return false;
  std::ofstream(dir_ + "/config.xml")
      << "<config>\n"
      << "  <option name=\"reply_time_limit_ms\" value=\"" << reply_limit_ms << "\"/>\n"
      << "  <option name=\"min_log_level\" value=\"LOG_ERROR\"/>\n"
      << "  <component library=\"" << TARN_AV_PLUGIN_PATH << "\">\n"
      << "    <link channel=\"" << link_ << "\" mode=\"named_server\"/>\n"
      << "  </component>\n"
      << "  <application name=\"nimbara.native.cec\" endpoint=\"unix:" << cec_ << "\"/>\n"
      << "  <control channel=\"" << control_ << "\"/>\n"
      << "</config>\n";
  std::string ready;
  return host_.Start(TARN_HOST_PATH, {"--config", dir_ + "/config.xml"}) &&
         host_.ReadLine(kTimeout, &ready) && ready.find("tarn-host: serving") == 0;
}

bool HostRig::StartSimulator(const std::vector<std::string>& sim_options) {
  std::vector<std::string> arguments = {"--socket", cec_};
  arguments.insert(arguments.end(), sim_options.begin(), sim_options.end());
  std::string serving;
  return sim_.Start(TARN_CEC_SIM_PATH, arguments) && sim_.ReadLine(kTimeout, &serving) &&
         serving.find("tarn-cec-sim: serving") == 0;
}

void HostRig::KillSimulator() {
  sim_.Signal(SIGKILL);
  sim_.Wait(kTimeout);
}

std::string HostRig::Avctl(const std::vector<std::string>& arguments, int* exit_code) {
  base::test::ChildProcess avctl;
  std::vector<std::string> all = {"--socket", link_, "--control", control_};
  all.insert(all.end(), arguments.begin(), arguments.end());
  if (!avctl.Start(TARN_AVCTL_PATH, all))
    return "<not started>";
  const std::string out = avctl.ReadRest(kTimeout);
  *exit_code = avctl.Wait(kTimeout);
  return out;
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
