// tarn-host's own behaviour as a program: its exit codes and messages, its sockets, the
// signals that stop it, and the figures, trace and log of the traffic it served.

#include <limits.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "nlohmann/json.hpp"
#include "tests/system/host_rig.h"

namespace system_test {
namespace {

std::string PluginRealPath() {
  char path[PATH_MAX];
  return realpath(TARN_AV_PLUGIN_PATH, path) ? path : "<no plugin>";
}

TEST(HostProcessTest, CommandLinesEndWithTheirExitCodesAndMessages) {
  HostRig rig("args");
  HostRig::Setup setup;
  setup.builtin_receiver = true;
  ASSERT_TRUE(rig.Start(setup));
  const std::string bad = rig.Path("bad.xml");
  std::ofstream(bad) << "<config>\n<component library=\"x.so\">\n<link channel=\"/t/l\"/>\n"
                        "</component>\n</config>\n";
  const std::string missing = rig.Path("missing.xml");
  const std::string library = rig.Path("libmissing.so");
  std::ofstream(missing) << "<config><component library=\"" << library << "\"><link channel=\""
                         << rig.Path("m.sock") << "\" mode=\"named_server\"/></component>"
                         << "<control channel=\"" << rig.Path("mc.sock") << "\"/></config>\n";
  const struct {
    std::vector<std::string> arguments;
    int exit_code;
    std::string out;  // a part of stdout, or "" for nothing at all
    std::string err;  // a part of stderr
  } rows[] = {
      {{"--bogus"}, 2, "", "--bogus"},
      {{"--config", bad}, 1, "", "tarn-host: " + bad + ":3: <link> needs a \"mode\" attribute"},
      {{"--config", ""}, 1, "", "tarn-host: : cannot read: No such file or directory"},
      {{"--config", missing},
       1,
       "",
       "tarn-host: cannot load component library " + library + ": " + library +
           ": cannot open shared object file"},
      // A second host with the running one's configuration is refused.
      {{"--config", rig.config()},
       1,
       "",
       "tarn-host: cannot serve " + rig.link() + ": Address already in use"},
      {{"--help"}, 0, "Example: tarn-host ", ""},
      {{"--print-config"}, 0, "<component library=\"" + PluginRealPath() + "\">", ""},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::PrintToString(row.arguments));
    const Outcome outcome = RunProgram(TARN_HOST_PATH, row.arguments, rig.Path("run.err"));
    EXPECT_EQ(row.exit_code, outcome.exit_code);
    if (row.out.empty()) {
      EXPECT_EQ("", outcome.out);
    }
    EXPECT_NE(std::string::npos, outcome.out.find(row.out)) << outcome.out;
    EXPECT_NE(std::string::npos, outcome.err.find(row.err)) << outcome.err;
  }
  EXPECT_FALSE(Exists(rig.Path("mc.sock")));  // the host that could not load served nothing
  // The refused second host left the first one be.
  EXPECT_EQ("{\"code\":0,\"result\":{\"speaker_volume\":0}}\n",
            rig.Avctl({"invoke", "GetSpeakerVolume", "device_id=x"}).out);
}

TEST(HostProcessTest, WithoutAConfigurationEachStopSignalEndsItAndItsSockets) {
  HostRig rig("signals");  // only for its folder
  ASSERT_EQ(0, setenv("XDG_RUNTIME_DIR", rig.dir().c_str(), 1));
  const std::string sockets = rig.Path("tarn");
  const Outcome printed = RunProgram(TARN_HOST_PATH, {"--print-config"}, rig.Path("print.err"));
  EXPECT_FALSE(Exists(sockets));  // printing creates nothing
  std::ofstream(rig.Path("printed.xml")) << printed.out;
  const struct {
    std::vector<std::string> arguments;
    int signal_number;
  } rows[] = {
      {{}, SIGINT},
      // What --print-config prints runs as a configuration of its own, folders and all.
      {{"--config", rig.Path("printed.xml")}, SIGTERM},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.signal_number);
    base::test::ChildProcess host;
    ASSERT_TRUE(host.Start(TARN_HOST_PATH, row.arguments, rig.Path("host.err")));
    std::string line;
    ASSERT_TRUE(host.ReadLine(kTimeout, &line)) << ReadFile(rig.Path("host.err"));
    EXPECT_EQ("tarn-host: serving (link " + sockets + "/av_plugin.sock, control " + sockets +
                  "/control.sock)",
              line);
    struct stat status;
    ASSERT_EQ(0, stat(sockets.c_str(), &status));
    EXPECT_EQ(0700u, status.st_mode & 0777);
    ASSERT_TRUE(host.Signal(row.signal_number));
    EXPECT_EQ(0, host.Wait(kTimeout));
    EXPECT_EQ("", host.ReadRest(kTimeout));
    EXPECT_EQ(0, rmdir(sockets.c_str()));  // empty: both sockets are gone
  }
  unsetenv("XDG_RUNTIME_DIR");
}

TEST(HostProcessTest, FiguresTraceAndLogOfTheTrafficItServed) {
  HostRig rig("traffic");
  HostRig::Setup setup;
  setup.builtin_receiver = true;
  setup.log_level = "LOG_INFO";
  setup.host_options = {"--trace"};
  ASSERT_TRUE(rig.Start(setup));
  base::test::ChildProcess events;
  ASSERT_TRUE(events.Start(TARN_AVCTL_PATH, {"--control", rig.control(), "events"}));
  EXPECT_EQ("{\"ready\":true}\n", rig.Avctl({"wait", "--subscribers", "1"}).out);
  EXPECT_EQ("{\"code\":0,\"result\":{\"power_state\":\"off\"}}\n",
            rig.Avctl({"invoke", "GetPowerState", "device_id=tv-1"}).out);
  EXPECT_EQ("{\"ok\":true}\n", rig.Avctl({"discover", "tv-1"}).out);
  std::string event;
  EXPECT_TRUE(events.ReadLine(kTimeout, &event));
  EXPECT_EQ(R"({"id":35,"data":["tv-1","av_plugin"]})", event);

  const Outcome status = rig.Avctl({"status"});
  const nlohmann::json figures = nlohmann::json::parse(status.out, nullptr, false);
  const std::pair<const char*, int> expected[] = {
      {"/event_subscribers", 1},
      {"/methods/GetPowerState/requests", 1},
      {"/methods/GetPowerState/errors", 0},
      {"/messages/AvMsg_ServiceInvoke/requests", 1},
      {"/messages/ControlMsg_InvokeMethod/requests", 1},
      {"/messages/ControlMsg_Subscribe/requests", 1},
      {"/cec/requests", 1},
      {"/cec/errors", 0},
  };
  for (const auto& figure : expected) {
    EXPECT_EQ(figure.second, figures.value(nlohmann::json::json_pointer(figure.first), -1))
        << figure.first << " " << status.out;
  }
  EXPECT_GT(figures.value(nlohmann::json::json_pointer("/methods/GetPowerState/p99_us"), -1), 0);

  ASSERT_TRUE(rig.host().Signal(SIGHUP));
  EXPECT_EQ(0, rig.host().Wait(kTimeout));
  EXPECT_EQ("", rig.host().ReadRest(kTimeout));
  EXPECT_FALSE(Exists(rig.link()));
  EXPECT_FALSE(Exists(rig.control()));
  const std::string log = rig.HostLog();  // in the platform's format
  EXPECT_NE(std::string::npos, log.find(":INFO:method_invoker.cc(")) << log;
  EXPECT_NE(std::string::npos, log.find("Destroyed the component from " TARN_AV_PLUGIN_PATH));
  EXPECT_EQ(std::string::npos, log.find("left behind"));  // the channels removed them
  // One trace line per exchange, on each link, the control channel and with the receiver.
  for (const std::string& traced : std::vector<std::string>{
           " link " + rig.link() + " pid ",
           " AvMsg_ServiceInvoke(GetPowerState, {\"device_id\":\"tv-1\"}) -> "
           "({\"power_state\":\"off\"}, 0) (",
           " control " + rig.control() + " pid ", " ControlMsg_Subscribe(-1) -> (true) (",
           " ControlMsg_InvokeMethod({\"argument\":\"tv-1\",",
           " application nimbara.native.cec get_cec_receiver_power_status(powerstatus=0) -> "}) {
    EXPECT_NE(std::string::npos, log.find(traced)) << traced;
  }
}

}  // namespace
}  // namespace system_test
