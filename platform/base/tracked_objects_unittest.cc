#include "base/tracked_objects.h"

#include <algorithm>
#include <thread>

#include "gtest/gtest.h"

namespace tracked_objects {
namespace {

const char kFunction[] = "ProfiledScope";
const char kFile[] = "tracked_objects_unittest.cc";

ProfileSnapshot Find(int line) {
  for (const ProfileSnapshot& snapshot : GetProfileSnapshot()) {
    if (snapshot.line_number == line && snapshot.file_name == kFile)
      return snapshot;
  }
  return ProfileSnapshot{"", "", -1, 0, 0, 0};  // not tallied yet
}

TEST(TrackedObjectsTest, ScopesAreTalliedPerLocation) {
  // Tallies live as long as the process: measure what this run adds.
  const ProfileSnapshot first_before = Find(1001);
  const ProfileSnapshot second_before = Find(1002);
  for (int i = 0; i < 3; ++i) {
    ScopedProfile profile(Location(kFunction, kFile, 1001, GetProgramCounter()));
  }
  {
    ScopedProfile profile(Location(kFunction, kFile, 1002, nullptr));
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  const ProfileSnapshot first = Find(1001);
  const ProfileSnapshot second = Find(1002);
  EXPECT_EQ(3, first.run_count - first_before.run_count);
  EXPECT_EQ(kFunction, first.function_name);
  EXPECT_EQ(1, second.run_count - second_before.run_count);
  EXPECT_GE(second.total_run_ns - second_before.total_run_ns, 2000000);
  EXPECT_GE(second.max_run_ns, second.total_run_ns - second_before.total_run_ns);
}

TEST(TrackedObjectsTest, ProgramCounterPointsIntoTheCaller) {
  EXPECT_NE(nullptr, GetProgramCounter());
  const Location location("f", "file.cc", 12, nullptr);
  EXPECT_EQ("f@file.cc:12", location.ToString());
}

}  // namespace
}  // namespace tracked_objects
