#include "plugin/device/av_plugin/av_log.h"

#include <map>

#include "plugin/device/av_plugin/test/av_test.h"
#include "runtime/runtime.h"

namespace av {
namespace {

class AvLogTest : public plugin::AvTest {
 protected:
  void TearDown() override { runtime::Runtime::GetInstance()->SetConfigOptions({}); }
};

TEST_F(AvLogTest, ReadsTheLevelNameOrKeepsTheLevelAndSaysWhy) {
  const char kMissing[] = "There is no option/value for av_log_level  in config.xml.";
  const char kUnsupported[] = "The value given for  av_log_level in config.xml is not supported.";
  const struct {
    const char* value;  // null: no option at all
    int level;          // it starts at 3
    const char* line;   // null: none
  } rows[] = {
      // The names themselves are the platform's (LoggingTest): the first and the last.
      {"LOG_VERBOSE", -1, nullptr},  {"LOG_FATAL", 4, nullptr},
      {nullptr, 3, kMissing},        {"", 3, kMissing},
      {"log_info", 3, kUnsupported},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.value ? row.value : "(none)");
    std::map<std::string, std::string> options;
    if (row.value)
      options["av_log_level"] = row.value;
    runtime::Runtime::GetInstance()->SetConfigOptions(options);
    log_level = 3;
    capture_.Clear();
    ReadLogLevel();
    EXPECT_EQ(row.level, log_level);
    EXPECT_EQ(row.line ? 1u : 0u, capture_.lines().size());
    EXPECT_TRUE(!row.line || capture_.Has(logging::LOG_INFO, row.line));
  }
}

int g_evaluations = 0;
int Evaluate() {
  return ++g_evaluations;
}

void WriteModuleLines() {
  AV_LOG(logging::LOG_INFO) << "info " << Evaluate();
  AV_LOG(logging::LOG_ERROR) << "error " << Evaluate();
}

TEST_F(AvLogTest, ModuleLinePassesBothGatesAndGatedOffEvaluatesNothing) {
  const struct {
    int platform_min;
    int module_level;
    bool info_written;
    bool error_written;
  } rows[] = {
      {0, 0, true, true},   {0, -1, true, true},  {0, 1, false, true},  {2, 0, false, true},
      {0, 3, false, false}, {3, 0, false, false}, {-1, 2, false, true},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.platform_min << "/" << row.module_level);
    logging::SetMinLogLevel(row.platform_min);
    log_level = row.module_level;
    g_evaluations = 0;
    capture_.Clear();
    WriteModuleLines();
    EXPECT_EQ(row.info_written, capture_.Has(logging::LOG_INFO, " #av#WriteModuleLines#  info 1"));
    EXPECT_EQ(row.error_written, capture_.Count(" #av#WriteModuleLines#  error " +
                                                std::to_string(row.info_written ? 2 : 1)) == 1);
    EXPECT_EQ(row.info_written + row.error_written, g_evaluations);
    EXPECT_EQ(static_cast<size_t>(g_evaluations), capture_.lines().size());
  }
}

}  // namespace
}  // namespace av
