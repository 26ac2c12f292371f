#include "runtime/config_file.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "gtest/gtest.h"
#include "runtime/runtime.h"

namespace runtime {
namespace {

TEST(ConfigFileTest, ReadsOptionsUnderTheRoot) {
  ConfigFile config;
  std::string error;
  ASSERT_TRUE(
      config.Parse("<?xml version=\"1.0\"?>\n"
                   "<config>\n"
                   "  <option name=\"av_log_level\" value=\"LOG_ERROR\"/>\n"
                   "  <option name=\"empty\" value=\"\"/>\n"
                   "  <option name=\"twice\" value=\"first\"/>\n"
                   "  <option name=\"twice\" value=\"second\"/>\n"
                   "  <group><option name=\"nested\" value=\"ignored\"/></group>\n"
                   "</config>\n",
                   "config.xml", &error))
      << error;
  const std::map<std::string, std::string> expected = {
      {"av_log_level", "LOG_ERROR"}, {"empty", ""}, {"twice", "second"}};
  EXPECT_EQ(expected, config.options());
}

TEST(ConfigFileTest, ErrorsNameTheFileAndTheLine) {
  struct Row {
    const char* text;
    const char* error;
  };
  const Row rows[] = {
      {"<config>\n<option name=\"a\" value=\"b\">\n</config>\n", "cfg.xml:2: malformed XML"},
      {"<config>\n\n  <option value=\"b\"/>\n</config>\n",
       "cfg.xml:3: <option> needs both a name and a value attribute"},
      {"", "cfg.xml:"},
  };
  for (const Row& row : rows) {
    ConfigFile config;
    std::string error;
    EXPECT_FALSE(config.Parse(row.text, "cfg.xml", &error));
    EXPECT_EQ(0u, error.find(row.error)) << error;
    EXPECT_TRUE(config.options().empty());
  }
}

TEST(ConfigFileTest, MissingFileIsAnEmptyConfiguration) {
  ConfigFile config;
  std::string error;
  EXPECT_TRUE(config.Load("/nonexistent/dir/config.xml", &error));
  EXPECT_TRUE(config.options().empty());
}

class RuntimeConfigTest : public testing::Test {
 protected:
  void SetUp() override {
    path_ = testing::TempDir() + "runtime_config_" + std::to_string(getpid()) + ".xml";
  }
  void TearDown() override {
    std::remove(path_.c_str());
    unsetenv("TARN_CONFIG");
    Runtime::GetInstance()->ResetConfigForTesting();
  }
  void Write(const std::string& text) { std::ofstream(path_) << text; }

  std::string path_;
};

TEST_F(RuntimeConfigTest, DefaultFileComesFromTheEnvironment) {
  Write("<config><option name=\"k\" value=\"v\"/></config>");
  setenv("TARN_CONFIG", path_.c_str(), 1);
  Runtime::GetInstance()->ResetConfigForTesting();
  std::string value = "stale";
  EXPECT_TRUE(Runtime::GetInstance()->GetConfigOption("k", value));
  EXPECT_EQ("v", value);
  EXPECT_FALSE(Runtime::GetInstance()->GetConfigOption("missing", value));
  EXPECT_EQ("", value);
}

TEST_F(RuntimeConfigTest, MalformedFileWritesOneErrorLineAndGivesNoOptions) {
  Write("<config>\n<option name=\"k\" value=\"v\"/>\n<broken\n");
  logging::ScopedLogCapture capture;
  EXPECT_FALSE(Runtime::GetInstance()->LoadConfigFile(path_));
  ASSERT_EQ(1u, capture.lines().size());
  EXPECT_EQ(logging::LOG_ERROR, capture.lines()[0].severity);
  EXPECT_EQ(0u, capture.lines()[0].message.find(path_ + ":")) << capture.lines()[0].message;
  std::string value;
  EXPECT_FALSE(Runtime::GetInstance()->GetConfigOption("k", value));
}

TEST_F(RuntimeConfigTest, SetOptionOverridesTheFile) {
  Write("<config><option name=\"k\" value=\"file\"/></config>");
  ASSERT_TRUE(Runtime::GetInstance()->LoadConfigFile(path_));
  Runtime::GetInstance()->SetConfigOption("k", "set");
  std::string value;
  EXPECT_TRUE(Runtime::GetInstance()->GetConfigOption("k", value));
  EXPECT_EQ("set", value);
}

}  // namespace
}  // namespace runtime
