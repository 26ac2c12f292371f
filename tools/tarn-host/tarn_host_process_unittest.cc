// tarn-host run as a real process: the AV plugin from the build tree behind a link, the
// built-in receiver, and clients on the control channel.

#include <limits.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "base/test/child_process.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "ipc/ipc_sync_client.h"
#include "ipc/ipc_sync_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "tools/control/control_messages.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

const milliseconds kTimeout(5000);

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// One run of tarn-host, its stderr kept in a file.
class HostProcess {
 public:
  HostProcess(const std::vector<std::string>& arguments, const std::string& stderr_path)
      : stderr_path_(stderr_path) {
    EXPECT_TRUE(process_.Start(TARN_HOST_PATH, arguments, stderr_path));
  }

  // The next line on stdout, or "<none>" when none comes in time.
  std::string ReadLine() {
    std::string line;
    return process_.ReadLine(seconds(20), &line) ? line : "<none>";
  }
  std::string RestOfOutput() { return process_.ReadRest(seconds(10)); }

  // Sends |signal_number| (when nonzero) and returns the exit code, -1 when the process
  // did not end in time.
  int Finish(int signal_number) {
    if (signal_number)
      process_.Signal(signal_number);
    return process_.Wait(seconds(20));
  }

  std::string Stderr() const { return ReadFile(stderr_path_); }

 private:
  base::test::ChildProcess process_;
  const std::string stderr_path_;
};

class TarnHostProcessTest : public testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/tarn-h-XXXXXX";  // short: socket paths must fit 108 bytes
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir_ = pattern;
    link_ = dir_ + "/link.sock";
    control_ = dir_ + "/ctl.sock";
  }
  void TearDown() override {
    unsetenv("XDG_RUNTIME_DIR");
    EXPECT_EQ(0, system(("rm -rf '" + dir_ + "'").c_str()));
  }

  // Writes a configuration that loads |library| and returns its path.
  std::string WriteConfig(const std::string& library) {
    const std::string path = dir_ + "/host.xml";
    std::ofstream(path) << "<config>\n"
                        << "  <option name=\"min_log_level\" value=\"LOG_INFO\"/>\n"
                        << "  <component library=\"" << library << "\">\n"
                        << "    <link channel=\"" << link_ << "\" mode=\"named_server\"/>\n"
                        << "  </component>\n"
                        << "  <application name=\"nimbara.native.cec\" endpoint=\"builtin\"/>\n"
                        << "  <control channel=\"" << control_ << "\"/>\n"
                        << "</config>\n";
    return path;
  }

  std::unique_ptr<HostProcess> Run(const std::vector<std::string>& arguments) {
    return std::make_unique<HostProcess>(arguments, dir_ + "/stderr.log");
  }

  // Invokes |method| of the AV manager with |argument| through |client|.
  int Invoke(IPC::SyncClient* client,
             const std::string& method,
             const std::string& argument,
             bool* result) {
    int status = -1;
    EXPECT_EQ(IPC::SyncClient::RESULT_OK,
              client->Send(new ControlMsg_InvokeMethod("av_plugin", "AvManagerImpl", method,
                                                       argument, &status, result),
                           kTimeout))
        << client->error();
    return status;
  }

  // The next event |client| receives, as its id and strings; id -1 when none comes.
  std::pair<int, std::vector<std::string>> NextEvent(IPC::SyncClient* client) {
    std::unique_ptr<IPC::Message> message;
    std::pair<int, std::vector<std::string>> event(-1, {});
    if (client->ReceiveMessage(kTimeout, &message) == IPC::SyncClient::RESULT_OK) {
      EXPECT_TRUE(ControlMsg_Event::Read(message.get(), &event.first, &event.second));
    }
    return event;
  }

  std::string dir_;
  std::string link_;
  std::string control_;
};

TEST_F(TarnHostProcessTest, ServesTheControlChannelRefusesASecondHostAndStopsOnSighup) {
  const std::string config = WriteConfig(TARN_AV_PLUGIN_PATH);
  auto host = Run({"--config", config, "--trace"});
  ASSERT_EQ("tarn-host: serving (link " + link_ + ", control " + control_ + ")", host->ReadLine());

  IPC::SyncClient watcher;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, watcher.Connect(control_, kTimeout)) << watcher.error();
  bool subscribed = false;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK,
            watcher.Send(new ControlMsg_Subscribe(ControlMsg_Subscribe::kAllEvents, &subscribed),
                         kTimeout));
  EXPECT_TRUE(subscribed);

  // A second client at the same time: the platform's discovery of a device.
  IPC::SyncClient platform;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, platform.Connect(control_, kTimeout)) << platform.error();
  bool result = false;
  EXPECT_EQ(control::kInvokeOk, Invoke(&platform, "OnDiscovery", "tv-1", &result));
  EXPECT_TRUE(result);
  EXPECT_EQ((std::pair<int, std::vector<std::string>>(35, {"tv-1", "av_plugin"})),
            NextEvent(&watcher));
  EXPECT_EQ(control::kInvokeOk, Invoke(&platform, "OnDeviceDisconnection", "tv-1", &result));
  const std::pair<int, std::vector<std::string>> disconnected = NextEvent(&watcher);
  EXPECT_EQ(37, disconnected.first);
  ASSERT_EQ(3u, disconnected.second.size());
  EXPECT_EQ(19u, disconnected.second[2].size());  // the date-time text

  // The built-in receiver answers the plugin behind its link.
  IPC::SyncClient device_layer;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, device_layer.Connect(link_, kTimeout));
  base::DictionaryValue args;
  args.SetString("device_id", "tv-1");
  base::DictionaryValue results;
  int code = -1;
  ASSERT_EQ(
      IPC::SyncClient::RESULT_OK,
      device_layer.Send(new AvMsg_ServiceInvoke("GetPowerState", args, &results, &code), kTimeout));
  EXPECT_EQ(0, code);
  std::string power_state;
  EXPECT_TRUE(results.GetString("power_state", &power_state));
  EXPECT_EQ("off", power_state);

  // The figures after that traffic.
  base::DictionaryValue status;
  ASSERT_EQ(IPC::SyncClient::RESULT_OK, platform.Send(new ControlMsg_Status(&status), kTimeout));
  const struct {
    const char* path;
    int value;
  } figures[] = {
      {"control_clients", 2},
      {"event_subscribers", 1},
      {"methods.GetPowerState.requests", 1},
      {"methods.GetPowerState.errors", 0},
      {"messages.AvMsg_ServiceInvoke.requests", 1},
      {"messages.ControlMsg_InvokeMethod.requests", 2},
      {"messages.ControlMsg_Subscribe.requests", 1},
      {"cec.requests", 1},
      {"cec.errors", 0},
  };
  for (const auto& figure : figures) {
    int value = -1;
    EXPECT_TRUE(status.GetInteger(figure.path, &value)) << figure.path;
    EXPECT_EQ(figure.value, value) << figure.path;
  }
  int p99 = -1;
  EXPECT_TRUE(status.GetInteger("methods.GetPowerState.p99_us", &p99));
  EXPECT_GT(p99, 0);

  // A request of an unknown type gets an error reply, and the host goes on serving.
  EXPECT_EQ(
      IPC::SyncClient::RESULT_REPLY_ERROR,
      platform.Send(new IPC::SyncMessage(control::kControlRoutingId, control::kLastControlType,
                                         IPC::Message::PRIORITY_NORMAL, nullptr),
                    kTimeout));
  // A second host with the same configuration is refused and leaves the first one be.
  auto second = std::make_unique<HostProcess>(std::vector<std::string>{"--config", config},
                                              dir_ + "/second.log");
  EXPECT_EQ(1, second->Finish(0));
  EXPECT_NE(std::string::npos,
            second->Stderr().find("tarn-host: cannot serve " + link_ + ": Address already in use"))
      << second->Stderr();
  EXPECT_EQ(control::kInvokeOk, Invoke(&platform, "OnDiscovery", "tv-2", &result));
  EXPECT_EQ(35, NextEvent(&watcher).first);
  IPC::SyncClient late_layer;
  EXPECT_EQ(IPC::SyncClient::RESULT_OK, late_layer.Connect(link_, kTimeout));

  EXPECT_EQ(0, host->Finish(SIGHUP));
  EXPECT_EQ("", host->RestOfOutput());
  EXPECT_FALSE(Exists(link_));
  EXPECT_FALSE(Exists(control_));
  const std::string log = host->Stderr();  // in the platform's format
  EXPECT_NE(std::string::npos, log.find(":INFO:method_invoker.cc(")) << log;
  EXPECT_NE(std::string::npos, log.find("Destroyed the component from " TARN_AV_PLUGIN_PATH));
  EXPECT_EQ(std::string::npos, log.find("left behind"));  // the channels removed them
  // One trace line per exchange, on each link, the control channel and with the receiver.
  for (const std::string& traced : std::vector<std::string>{
           " link " + link_ + " pid ",
           " AvMsg_ServiceInvoke(GetPowerState, {\"device_id\":\"tv-1\"}) -> "
           "({\"power_state\":\"off\"}, 0) (",
           " control " + control_ + " pid ", " ControlMsg_Subscribe(-1) -> (true) (",
           " ControlMsg_InvokeMethod({\"argument\":\"tv-1\",", " -> (error reply) (",
           " application nimbara.native.cec get_cec_receiver_power_status(powerstatus=0) -> "}) {
    EXPECT_NE(std::string::npos, log.find(traced)) << traced;
  }
}

TEST_F(TarnHostProcessTest, AComponentThatCannotLoadStopsTheHostWithExitOne) {
  const std::string missing = dir_ + "/libmissing.so";
  auto host = Run({"--config", WriteConfig(missing)});
  EXPECT_EQ(1, host->Finish(0));
  EXPECT_EQ("", host->RestOfOutput());  // never ready
  const std::string expected = "tarn-host: cannot load component library " + missing + ": " +
                               missing + ": cannot open shared object file";
  EXPECT_NE(std::string::npos, host->Stderr().find(expected)) << host->Stderr();
  EXPECT_FALSE(Exists(control_));
}

TEST_F(TarnHostProcessTest, UsageErrorsExitWithTwoAndConfigurationErrorsWithOne) {
  const std::string bad = dir_ + "/bad.xml";
  std::ofstream(bad) << "<config>\n<component library=\"x.so\">\n<link channel=\"/t/l\"/>\n"
                        "</component>\n</config>\n";
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
    std::string message;  // on stderr
  } rows[] = {
      {{"--bogus"}, 2, "--bogus"},
      {{"--config"}, 2, "--config"},
      {{"--config", bad}, 1, "tarn-host: " + bad + ":3: <link> needs a \"mode\" attribute"},
      {{"--config", ""}, 1, "tarn-host: : cannot read: No such file or directory"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments[0]);
    auto host = Run(row.arguments);
    EXPECT_EQ(row.exit_code, host->Finish(0));
    EXPECT_NE(std::string::npos, host->Stderr().find(row.message)) << host->Stderr();
  }
  auto help = Run({"--help"});
  EXPECT_EQ(0, help->Finish(0));
  const std::string text = help->RestOfOutput();
  EXPECT_NE(std::string::npos, text.find("--config")) << text;
  EXPECT_NE(std::string::npos, text.find("--print-config")) << text;
  EXPECT_NE(std::string::npos, text.find("Example: tarn-host ")) << text;
}

TEST_F(TarnHostProcessTest, WithoutAConfigurationItRunsTheDefaultAndCanPrintIt) {
  ASSERT_EQ(0, setenv("XDG_RUNTIME_DIR", dir_.c_str(), 1));
  char plugin[PATH_MAX];
  ASSERT_NE(nullptr, realpath(TARN_AV_PLUGIN_PATH, plugin));
  const std::string sockets = dir_ + "/tarn";

  auto printer = Run({"--print-config"});
  EXPECT_EQ(0, printer->Finish(0));
  const std::string printed = printer->RestOfOutput();
  EXPECT_NE(std::string::npos, printed.find("<component library=\"" + std::string(plugin) + "\">"))
      << printed;
  EXPECT_FALSE(Exists(sockets));  // printing creates nothing

  // What it prints runs as a configuration of its own, folders and all.
  const std::string printed_path = dir_ + "/printed.xml";
  std::ofstream(printed_path) << printed;
  auto from_file = Run({"--config", printed_path});
  ASSERT_EQ("tarn-host: serving (link " + sockets + "/av_plugin.sock, control " + sockets +
                "/control.sock)",
            from_file->ReadLine())
      << from_file->Stderr();
  EXPECT_EQ(0, from_file->Finish(SIGTERM));
  ASSERT_EQ(0, rmdir(sockets.c_str()));

  auto host = Run({});
  ASSERT_EQ("tarn-host: serving (link " + sockets + "/av_plugin.sock, control " + sockets +
                "/control.sock)",
            host->ReadLine());
  struct stat status;
  ASSERT_EQ(0, stat(sockets.c_str(), &status));
  EXPECT_EQ(0700u, status.st_mode & 0777);
  EXPECT_EQ(0, host->Finish(SIGINT));
  EXPECT_FALSE(Exists(sockets + "/av_plugin.sock"));
  EXPECT_FALSE(Exists(sockets + "/control.sock"));
}

}  // namespace
