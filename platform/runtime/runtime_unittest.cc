#include "runtime/runtime.h"

#include <string>

#include "gtest/gtest.h"

namespace runtime {
namespace {

TEST(RuntimeTest, OptionsAreWhatTheHostGaveLast) {
  Runtime* runtime = Runtime::GetInstance();
  runtime->SetConfigOptions({{"a", "1"}, {"stale", "x"}});
  runtime->SetConfigOptions({{"a", "2"}, {"empty", ""}});
  std::string value;
  EXPECT_TRUE(runtime->GetConfigOption("a", value));
  EXPECT_EQ("2", value);
  EXPECT_TRUE(runtime->GetConfigOption("empty", value));
  EXPECT_EQ("", value);
  value = "kept?";
  EXPECT_FALSE(runtime->GetConfigOption("stale", value));  // replaced, not merged
  EXPECT_EQ("", value);
  runtime->SetConfigOptions({});
}

}  // namespace
}  // namespace runtime
