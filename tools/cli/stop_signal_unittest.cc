#include "tools/cli/stop_signal.h"

#include <signal.h>

#include <string>

#include "gtest/gtest.h"

namespace tool_cli {
namespace {

// A stop signal that were not blocked would end the test process instead.
TEST(StopSignalTest, EachStopSignalWaitsToBeTaken) {
  StopSignal stop;
  std::string error;
  ASSERT_TRUE(stop.Init(&error)) << error;
  for (int signal_number : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_FALSE(stop.Pending());
    ASSERT_EQ(0, raise(signal_number));
    EXPECT_TRUE(stop.Pending()) << signal_number;
    EXPECT_EQ(signal_number, stop.Wait());
  }
  EXPECT_FALSE(stop.Pending());
}

}  // namespace
}  // namespace tool_cli
