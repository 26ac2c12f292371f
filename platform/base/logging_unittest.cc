#include "base/logging.h"

#include <regex>

#include "gtest/gtest.h"

namespace logging {
namespace {

struct Captured {
  int severity = -100;
  std::string str;
  size_t message_start = 0;
  int calls = 0;
};
Captured g_captured;

bool CaptureHandler(int severity, const char*, int, size_t message_start, const std::string& str) {
  g_captured.severity = severity;
  g_captured.str = str;
  g_captured.message_start = message_start;
  ++g_captured.calls;
  return true;
}

class LoggingTest : public testing::Test {
 protected:
  void SetUp() override {
    g_captured = Captured();
    SetLogMessageHandler(&CaptureHandler);
    SetMinLogLevel(LOG_INFO);
  }
  void TearDown() override {
    SetLogMessageHandler(nullptr);
    SetMinLogLevel(LOG_INFO);
  }
};

TEST_F(LoggingTest, LineHasTheHeaderThenTheMessageAsStreamed) {
  { LogMessage(__FILE__, 42, LOG_ERROR).stream() << "  two blanks" << 7; }
  ASSERT_EQ(1, g_captured.calls);
  EXPECT_TRUE(std::regex_match(
      g_captured.str,
      std::regex(R"(\[\d{4}/\d{6}\.\d{3}:ERROR:logging_unittest\.cc\(42\)\]   two blanks7\n)")))
      << g_captured.str;
  EXPECT_EQ("  two blanks7\n", g_captured.str.substr(g_captured.message_start));
}

int g_evaluations = 0;
int Evaluate() {
  return ++g_evaluations;
}

TEST_F(LoggingTest, GatedOffLinesEvaluateNothing) {
  SetMinLogLevel(LOG_ERROR);
  g_evaluations = 0;
  LOG_AT(LOG_WARNING) << Evaluate();
  EXPECT_EQ(0, g_evaluations);
  EXPECT_EQ(0, g_captured.calls);
  LOG_AT(LOG_ERROR) << Evaluate();
  EXPECT_EQ(1, g_evaluations);
  EXPECT_EQ(1, g_captured.calls);
}

// A fatal line is written, and the process goes on.
TEST_F(LoggingTest, CheckOpStringAndCheckLine) {
  { LogMessage(__FILE__, 1, MakeCheckOpString(24u, 20, "header_size_ == sizeof(T)")); }
  EXPECT_EQ(LOG_FATAL, g_captured.severity);
  EXPECT_EQ("Check failed: header_size_ == sizeof(T) (24 vs. 20)\n",
            g_captured.str.substr(g_captured.message_start));
}

// The names configurations give levels by, in both directions; a near miss is no name.
TEST(LoggingNamesTest, EverySeverityHasOneExactName) {
  const char* const names[] = {"LOG_VERBOSE", "LOG_INFO",         "LOG_WARNING",
                               "LOG_ERROR",   "LOG_ERROR_REPORT", "LOG_FATAL"};
  for (LogSeverity severity = LOG_VERBOSE; severity <= LOG_FATAL; ++severity) {
    const std::string name = names[severity - LOG_VERBOSE];
    LogSeverity read = -100;
    EXPECT_TRUE(SeverityFromName(name, &read) && read == severity) << name;
    EXPECT_STREQ(name.c_str() + 4, LogSeverityName(severity));
    EXPECT_FALSE(SeverityFromName(name.substr(4), &read) || SeverityFromName(name + " ", &read));
  }
}

TEST(LoggingDeathTest, CheckStopsTheProcess) {
  EXPECT_DEATH(CHECK(1 + 1 == 3), "Check failed: 1 \\+ 1 == 3");
}

}  // namespace
}  // namespace logging
