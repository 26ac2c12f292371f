#include "tools/tarn-host/default_config.h"

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <string>

#include "gtest/gtest.h"

namespace tarn_host {
namespace {

class DefaultConfigTest : public testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/tarn-host-test-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(pattern));
    dir_ = pattern;
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }

  void MakeFile(const std::string& path) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path) << "<config/>";
  }

  std::string dir_;
};

TEST_F(DefaultConfigTest, PluginIsLookedForInTheBuildTreeThenTheInstallTree) {
  const std::string program = dir_ + "/prefix/bin/tarn-host";
  const std::vector<std::string> candidates = PluginCandidates(program);
  ASSERT_EQ(2u, candidates.size());
  EXPECT_EQ(dir_ + "/prefix/bin/../../plugin/libtarn_av_plugin.so", candidates[0]);

  EXPECT_EQ("libtarn_av_plugin.so", FindPluginLibrary(program));  // the loader searches
  MakeFile(candidates[1]);
  char installed[PATH_MAX];
  ASSERT_NE(nullptr, realpath(candidates[1].c_str(), installed));
  EXPECT_EQ(dir_ + "/prefix/", std::string(installed).substr(0, dir_.size() + 8));
  EXPECT_EQ(installed, FindPluginLibrary(program));
  MakeFile(candidates[0]);
  EXPECT_EQ(dir_ + "/plugin/libtarn_av_plugin.so", FindPluginLibrary(program));
}

TEST_F(DefaultConfigTest, SocketDirectoryIsMadePrivateOrMustBeOurs) {
  std::string error;
  ASSERT_TRUE(EnsurePrivateDirectory(dir_ + "/tarn", &error)) << error;
  struct stat status;
  ASSERT_EQ(0, stat((dir_ + "/tarn").c_str(), &status));
  EXPECT_EQ(0700u, status.st_mode & 0777);
  EXPECT_TRUE(EnsurePrivateDirectory(dir_ + "/tarn", &error)) << error;  // already there

  MakeFile(dir_ + "/file");
  EXPECT_FALSE(EnsurePrivateDirectory(dir_ + "/file", &error));
  EXPECT_EQ("the socket directory " + dir_ + "/file is not a directory", error);
  EXPECT_FALSE(EnsurePrivateDirectory(dir_ + "/missing/tarn", &error));
  EXPECT_EQ(
      "cannot create the socket directory " + dir_ + "/missing/tarn: No such file or directory",
      error);
  if (geteuid() != 0) {
    EXPECT_FALSE(EnsurePrivateDirectory("/", &error));
    EXPECT_EQ("the socket directory / belongs to another user", error);
  }
}

}  // namespace
}  // namespace tarn_host
