#include "tools/avctl/command_line.h"

#include <sstream>
#include <string>
#include <vector>

#include "gtest/gtest.h"

namespace avctl {
namespace {

// Nothing listens here, so a command line that gets as far as connecting exits 1.
const char kNoServer[] = "/nonexistent-avctl-dir/server.sock";

struct Outcome {
  int exit_code;
  std::string out;
  std::string err;
};

Outcome RunAvctl(std::vector<std::string> words) {
  words.insert(words.begin(), {"avctl", "--socket", kNoServer, "--control", kNoServer});
  std::vector<const char*> argv;
  for (const std::string& word : words)
    argv.push_back(word.c_str());
  std::ostringstream out;
  std::ostringstream err;
  const int exit_code = RunCommandLine(static_cast<int>(argv.size()), argv.data(), &out, &err);
  return {exit_code, out.str(), err.str()};
}

TEST(CommandLineTest, EveryCommandHasHelp) {
  for (const char* command : {"invoke", "property", "register", "unregister", "rescan", "delete",
                              "discover", "disconnect", "events", "status", "wait"}) {
    const Outcome outcome = RunAvctl({command, "--help"});
    EXPECT_EQ(0, outcome.exit_code) << command;
    for (const std::string& part :
         {"Usage: avctl " + std::string(command), std::string("Example: "),
          std::string("Options of every command")}) {
      EXPECT_NE(std::string::npos, outcome.out.find(part)) << outcome.out;
    }
  }
  const std::string invoke = RunAvctl({"invoke", "--help"}).out;
  for (const char* method : {"SetPowerState", "GetDeviceResources"}) {  // the first, the last
    EXPECT_NE(std::string::npos, invoke.find(std::string("  ") + method)) << method;
  }
  const Outcome outcome = RunAvctl({"--help"});
  EXPECT_EQ(0, outcome.exit_code);
  EXPECT_NE(std::string::npos, outcome.out.find("Exit codes (the same for tarn-host and "));
}

// A usage error exits 2 before connecting; a command line that connects exits 1 here.
TEST(CommandLineTest, UsageErrorsExit2AndAnUnreachableServer1) {
  const std::string kUnreachable =
      std::string("avctl: cannot connect to ") + kNoServer + ": No such file or directory\n";
  const struct {
    std::vector<std::string> words;
    int exit_code;
    std::string message;  // a part of stderr
  } kCases[] = {
      {{}, 2, "avctl: a command is required"},
      {{"bogus"}, 2, "avctl: The following argument was not expected: bogus\nRun \"avctl --help\""},
      {{"invok", "GetPowerState"}, 2, "avctl: did you mean \"invoke\"?\n"},
      {{"status", "--humna"}, 2, "avctl: did you mean \"--human\"?\n"},
      {{"invoke"}, 2, "method is required"},
      {{"invoke", "GetPowerState", "device_id"}, 2, "avctl: \"device_id\" is neither"},
      {{"invoke", "GetPowerState", "--args", "[]"}, 2, "avctl: --args must be a JSON object"},
      {{"property"}, 2, "device_id is required"},
      {{"register", "a", "b"}, 2, "At least 3 required but received 2"},
      {{"--timeout", "0", "delete"}, 2, "--timeout: Value 0 not in range"},
      {{"events", "--count", "0"}, 2, "--count: Value 0 not in range"},
      {{"events", "--id", "-2"}, 2, "--id: Value -2 not in range 0 to"},
      {{"invoke", "GetPowerState", "device_id=x", "--timeout", "100"}, 1, kUnreachable},
      {{"discover", "tv-1"}, 1, kUnreachable},
  };
  for (const auto& test : kCases) {
    const Outcome outcome = RunAvctl(test.words);
    EXPECT_EQ(test.exit_code, outcome.exit_code) << testing::PrintToString(test.words);
    EXPECT_NE(std::string::npos, outcome.err.find(test.message)) << outcome.err;
    EXPECT_EQ("", outcome.out);
  }
}

}  // namespace
}  // namespace avctl
