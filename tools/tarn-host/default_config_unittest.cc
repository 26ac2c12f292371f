#include "tools/tarn-host/default_config.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <fstream>
#include <string>

#include "gtest/gtest.h"
#include "runtime/runtime.h"
#include "tools/control/default_paths.h"
#include "tools/tarn-host/host_config_reader.h"

namespace tarn_host {
namespace {

const char kPlugin[] = "libtarn_av_plugin.so";

// A fresh directory under /tmp, removed with what the test put in it.
class TempDir {
 public:
  TempDir() {
    char pattern[] = "/tmp/tarn-host-test-XXXXXX";
    path_ = mkdtemp(pattern);
  }
  ~TempDir() { EXPECT_EQ(0, system(("rm -rf '" + path_ + "'").c_str())); }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

void MakeFile(const std::string& path) {
  ASSERT_EQ(0, system(("mkdir -p \"$(dirname '" + path + "')\"").c_str()));
  std::ofstream(path) << "not really a library";
}

TEST(DefaultConfigTest, PluginIsLookedForInTheBuildTreeThenTheInstallTree) {
  TempDir dir;
  const std::string program = dir.path() + "/prefix/bin/tarn-host";
  const std::vector<std::string> candidates = PluginCandidates(program);
  ASSERT_EQ(2u, candidates.size());
  EXPECT_EQ(dir.path() + "/prefix/bin/../../plugin/" + kPlugin, candidates[0]);
  const std::string install_prefix = dir.path() + "/prefix/bin/../";
  EXPECT_EQ(install_prefix, candidates[1].substr(0, install_prefix.size()));
  EXPECT_EQ(std::string("/") + kPlugin,
            candidates[1].substr(candidates[1].size() - std::strlen(kPlugin) - 1));

  EXPECT_EQ(kPlugin, FindPluginLibrary(program));  // neither: the loader searches
  MakeFile(candidates[1]);
  char installed[PATH_MAX];
  ASSERT_NE(nullptr, realpath(candidates[1].c_str(), installed));
  EXPECT_EQ(installed, FindPluginLibrary(program));
  MakeFile(candidates[0]);
  EXPECT_EQ(dir.path() + "/plugin/" + kPlugin, FindPluginLibrary(program));

  EXPECT_TRUE(PluginCandidates("").empty());
  EXPECT_EQ(kPlugin, FindPluginLibrary(""));
}

TEST(DefaultConfigTest, DefaultUsesTheDefaultSocketsAndTheBuiltInReceiver) {
  TempDir dir;
  ASSERT_EQ(0, setenv("XDG_RUNTIME_DIR", dir.path().c_str(), 1));
  const HostConfig config = DefaultHostConfig("/opt/lib/libtarn_av_plugin.so");
  const std::string expected =
      "<config>\n"
      "  <option name=\"av_log_level\" value=\"LOG_INFO\"/>\n"
      "  <option name=\"min_log_level\" value=\"LOG_INFO\"/>\n"
      "  <option name=\"reply_time_limit_ms\" value=\"5000\"/>\n"
      "  <component library=\"/opt/lib/libtarn_av_plugin.so\">\n"
      "    <link channel=\"" +
      dir.path() +
      "/tarn/av_plugin.sock\" mode=\"named_server\"/>\n"
      "  </component>\n"
      "  <application name=\"nimbara.native.cec\" endpoint=\"builtin\"/>\n"
      "  <control channel=\"" +
      dir.path() + "/tarn/control.sock\"/>\n</config>\n";
  EXPECT_EQ(expected, config.ToXml());

  // What --print-config shows is what the host runs.
  HostConfig read;
  std::string error;
  ASSERT_TRUE(HostConfigReader::Parse(config.ToXml(), "printed", &read, &error)) << error;
  EXPECT_EQ(config.min_log_level, read.min_log_level);
  EXPECT_EQ(config.reply_time_limit, read.reply_time_limit);
  unsetenv("XDG_RUNTIME_DIR");
}

TEST(DefaultConfigTest, RuntimeTakesTheDefaultOptionsWithoutReadingAFile) {
  TempDir dir;
  const std::string file = dir.path() + "/config.xml";
  std::ofstream(file) << "<config><option name=\"from_file\" value=\"1\"/></config>";
  ASSERT_EQ(0, setenv("TARN_CONFIG", file.c_str(), 1));
  runtime::Runtime* runtime = runtime::Runtime::GetInstance();
  runtime->ResetConfigForTesting();
  runtime->SetConfigOptions(DefaultHostConfig("p.so").options);
  std::string value;
  EXPECT_TRUE(runtime->GetConfigOption("av_log_level", value));
  EXPECT_EQ("LOG_INFO", value);
  EXPECT_FALSE(runtime->GetConfigOption("from_file", value));
  unsetenv("TARN_CONFIG");
  runtime->ResetConfigForTesting();
}

TEST(DefaultConfigTest, SocketDirectoryIsMadePrivateOrMustBeOurs) {
  TempDir dir;
  std::string error;
  const std::string made = dir.path() + "/tarn";
  ASSERT_TRUE(EnsurePrivateDirectory(made, &error)) << error;
  struct stat status;
  ASSERT_EQ(0, stat(made.c_str(), &status));
  EXPECT_EQ(0700u, status.st_mode & 0777);
  EXPECT_TRUE(EnsurePrivateDirectory(made, &error)) << error;  // already there

  MakeFile(dir.path() + "/file");
  EXPECT_FALSE(EnsurePrivateDirectory(dir.path() + "/file", &error));
  EXPECT_EQ("the socket directory " + dir.path() + "/file is not a directory", error);
  EXPECT_FALSE(EnsurePrivateDirectory(dir.path() + "/missing/tarn", &error));
  EXPECT_EQ("cannot create the socket directory " + dir.path() +
                "/missing/tarn: No such file or directory",
            error);
  if (geteuid() != 0) {
    EXPECT_FALSE(EnsurePrivateDirectory("/", &error));
    EXPECT_EQ("the socket directory / belongs to another user", error);
  }
}

}  // namespace
}  // namespace tarn_host
