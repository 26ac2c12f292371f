#include "tools/cli/usage_error.h"

#include <sstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace tool_cli {
namespace {

TEST(UsageErrorTest, ReportsWithTheToolsNameAndSuggestsACloseWord) {
  const struct {
    std::vector<const char*> words;
    std::string expected;
  } rows[] = {
      {{"--confg", "x.xml"},
       "tool: The following arguments were not expected: x.xml --confg\n"
       "tool: did you mean \"--config\"?\n"
       "Run \"tool --help\" for usage.\n"},
      {{"stauts"},
       "tool: The following argument was not expected: stauts\n"
       "tool: did you mean \"status\"?\n"
       "Run \"tool --help\" for usage.\n"},
      {{"--zzzzzz"},
       "tool: The following argument was not expected: --zzzzzz\n"
       "Run \"tool --help\" for usage.\n"},
  };
  for (const auto& row : rows) {
    CLI::App app("A tool", "tool");
    std::string config;
    app.add_option("--config", config);
    app.add_subcommand("status", "Figures")->add_flag("--human");
    std::vector<const char*> argv = {"tool"};
    argv.insert(argv.end(), row.words.begin(), row.words.end());
    std::ostringstream err;
    int code = -1;
    try {
      app.parse(static_cast<int>(argv.size()), argv.data());
    } catch (const CLI::ParseError& error) {
      code = ReportUsageError(app, error, err);
    }
    EXPECT_EQ(kExitUsage, code) << row.words[0];
    EXPECT_EQ(row.expected, err.str());
  }
}

TEST(UsageErrorTest, ClosestWordOnlyForLikelySlips) {
  const std::vector<std::string> known = {"--config", "--print-config", "invoke", "status"};
  EXPECT_EQ("--print-config", ClosestWord("--printconfig", known));
  EXPECT_EQ("", ClosestWord("status", known));  // a known word is no slip
}

}  // namespace
}  // namespace tool_cli
