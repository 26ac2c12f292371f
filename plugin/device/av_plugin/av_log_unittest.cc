#include "plugin/device/av_plugin/av_log.h"

#include "base/test/log_capture.h"
#include "gtest/gtest.h"
#include "runtime/runtime.h"

namespace av {
namespace {

class AvLogTest : public testing::Test {
 protected:
  void SetUp() override {
    runtime::Runtime::GetInstance()->SetConfigOptions({});
    logging::SetMinLogLevel(logging::LOG_INFO);
    log_level = 0;
  }
  void TearDown() override {
    runtime::Runtime::GetInstance()->SetConfigOptions({});
    logging::SetMinLogLevel(logging::LOG_INFO);
    log_level = 0;
  }
  void SetOption(const std::string& value) {
    runtime::Runtime::GetInstance()->SetConfigOptions({{"av_log_level", value}});
  }
};

TEST_F(AvLogTest, EveryLevelNameSetsItsLevel) {
  const std::pair<const char*, int> rows[] = {
      {"LOG_VERBOSE", -1}, {"LOG_INFO", 0},         {"LOG_WARNING", 1},
      {"LOG_ERROR", 2},    {"LOG_ERROR_REPORT", 3}, {"LOG_FATAL", 4},
  };
  for (const auto& row : rows) {
    log_level = 99;
    SetOption(row.first);
    logging::ScopedLogCapture capture;
    ReadLogLevel();
    EXPECT_EQ(row.second, log_level) << row.first;
    EXPECT_TRUE(capture.lines().empty());
  }
}

TEST_F(AvLogTest, MissingOrUnsupportedValueKeepsTheLevelAndSaysSo) {
  const char kMissing[] = "There is no option/value for av_log_level  in config.xml.";
  const char kUnsupported[] = "The value given for  av_log_level in config.xml is not supported.";
  struct Row {
    const char* value;  // null: no option at all
    const char* line;
  };
  const Row rows[] = {
      {nullptr, kMissing},         {"", kMissing},
      {"log_info", kUnsupported},  {"LOG_INFO ", kUnsupported},
      {" LOG_INFO", kUnsupported}, {"2", kUnsupported},
  };
  for (const Row& row : rows) {
    runtime::Runtime::GetInstance()->SetConfigOptions({});
    if (row.value)
      SetOption(row.value);
    log_level = 3;
    logging::ScopedLogCapture capture;
    ReadLogLevel();
    EXPECT_EQ(3, log_level);
    ASSERT_EQ(1u, capture.lines().size());
    EXPECT_EQ(logging::LOG_INFO, capture.lines()[0].severity);
    EXPECT_EQ(row.line, capture.lines()[0].message);

    // The same lines follow the platform minimum alone.
    logging::SetMinLogLevel(logging::LOG_WARNING);
    capture.Clear();
    ReadLogLevel();
    EXPECT_TRUE(capture.lines().empty());
    logging::SetMinLogLevel(logging::LOG_INFO);
  }
}

void WriteModuleLines() {
  AV_LOG(logging::LOG_INFO) << "info";
  AV_LOG(logging::LOG_ERROR) << "error";
}

TEST_F(AvLogTest, ModuleLinePassesBothGates) {
  struct Row {
    int platform_min;
    int module_level;
    bool info_written;
    bool error_written;
  };
  const Row rows[] = {
      {0, 0, true, true},   {0, -1, true, true},  {0, 1, false, true},  {2, 0, false, true},
      {0, 3, false, false}, {3, 0, false, false}, {-1, 2, false, true},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(testing::Message() << row.platform_min << "/" << row.module_level);
    logging::SetMinLogLevel(row.platform_min);
    log_level = row.module_level;
    logging::ScopedLogCapture capture;
    WriteModuleLines();
    EXPECT_EQ(row.info_written ? 1 : 0, capture.Count(" #av#WriteModuleLines#  info"));
    EXPECT_EQ(row.error_written ? 1 : 0, capture.Count(" #av#WriteModuleLines#  error"));
  }
}

int g_evaluations = 0;
int Evaluate() {
  return ++g_evaluations;
}

TEST_F(AvLogTest, GatedOffLineEvaluatesNoOperand) {
  log_level = logging::LOG_ERROR;
  g_evaluations = 0;
  logging::ScopedLogCapture capture;
  AV_LOG(logging::LOG_INFO) << Evaluate();
  logging::SetMinLogLevel(logging::LOG_FATAL);
  log_level = logging::LOG_VERBOSE;
  AV_LOG(logging::LOG_ERROR) << Evaluate();
  EXPECT_EQ(0, g_evaluations);
  EXPECT_TRUE(capture.lines().empty());
}

}  // namespace
}  // namespace av
