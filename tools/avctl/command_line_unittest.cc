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
    EXPECT_NE(std::string::npos, outcome.out.find(std::string("Usage: avctl ") + command))
        << outcome.out;
    EXPECT_NE(std::string::npos, outcome.out.find("Example: ")) << command;
    EXPECT_NE(std::string::npos, outcome.out.find("Options of every command")) << command;
  }
  const std::string invoke = RunAvctl({"invoke", "--help"}).out;
  for (const char* method :
       {"SetPowerState", "GetPowerState", "SetSoundMode", "GetSoundMode", "GetSpeakerVolume",
        "SetSpeakerVolume", "GetMicVolume", "SetMicVolume", "GetSoundMuteState",
        "SetSoundMuteState", "GetMicPower", "SetMicPower", "GetDeviceResources"}) {
    EXPECT_NE(std::string::npos, invoke.find(std::string("  ") + method)) << method;
  }
  const Outcome outcome = RunAvctl({"--help"});
  EXPECT_EQ(0, outcome.exit_code);
  EXPECT_NE(std::string::npos, outcome.out.find("Exit codes (the same for tarn-host and "));
}

TEST(CommandLineTest, UsageErrorsExit2BeforeConnecting) {
  const struct {
    std::vector<std::string> words;
    const char* message;
  } kCases[] = {
      {{}, "avctl: a command is required"},
      {{"bogus"}, "avctl: The following argument was not expected: bogus\nRun \"avctl --help\""},
      {{"invok", "GetPowerState"}, "avctl: did you mean \"invoke\"?\n"},
      {{"status", "--humna"}, "avctl: did you mean \"--human\"?\n"},
      {{"invoke"}, "method is required"},
      {{"invoke", "GetPowerState", "device_id"}, "avctl: \"device_id\" is neither"},
      {{"invoke", "GetPowerState", "v:={"}, "avctl: the value of \"v\" is not JSON"},
      {{"invoke", "GetPowerState", "--args", "[]"}, "avctl: --args must be a JSON object"},
      {{"property"}, "device_id is required"},
      {{"register", "a", "b"}, "At least 3 required but received 2"},
      {{"unregister", "a", "b", "c"}, "At Most 2 required but received 3"},
      {{"rescan", "extra"}, "not expected: extra"},
      {{"discover"}, "device_id is required"},
      {{"--timeout", "0", "delete"}, "--timeout: Value 0 not in range"},
      {{"delete", "--timeout", "soon"}, "--timeout: Value soon not in range"},
      {{"events", "--count", "0"}, "--count: Value 0 not in range"},
      {{"events", "--id", "-2"}, "--id: Value -2 not in range 0 to"},
  };
  for (const auto& test : kCases) {
    const Outcome outcome = RunAvctl(test.words);
    EXPECT_EQ(2, outcome.exit_code) << testing::PrintToString(test.words);
    EXPECT_NE(std::string::npos, outcome.err.find(test.message)) << outcome.err;
    EXPECT_EQ("", outcome.out);
  }
}

TEST(CommandLineTest, AnUnreachableServerExits1) {
  const std::vector<std::string> kCommandLines[] = {
      {"invoke", "GetPowerState", "device_id=x", "--timeout", "100"},
      {"register", "a", "b", "c"},
      {"discover", "tv-1"},
      {"events", "--id", "35"},
  };
  for (const auto& words : kCommandLines) {
    const Outcome outcome = RunAvctl(words);
    EXPECT_EQ(1, outcome.exit_code) << testing::PrintToString(words);
    EXPECT_EQ(
        std::string("avctl: cannot connect to ") + kNoServer + ": No such file or directory\n",
        outcome.err);
    EXPECT_EQ("", outcome.out);
  }
}

}  // namespace
}  // namespace avctl
