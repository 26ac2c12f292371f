#include "base/tracked_objects.h"

#include <chrono>

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
  std::chrono::steady_clock::duration inside;
  {
    ScopedProfile profile(Location(kFunction, kFile, 1002, nullptr));
    const auto start = std::chrono::steady_clock::now();
    while ((inside = std::chrono::steady_clock::now() - start).count() == 0) {
    }
  }
  const ProfileSnapshot first = Find(1001);
  const ProfileSnapshot second = Find(1002);
  EXPECT_EQ(3, first.run_count - first_before.run_count);
  EXPECT_EQ(kFunction, first.function_name);
  EXPECT_EQ(1, second.run_count - second_before.run_count);
  // The scope's time covers at least what passed inside it.
  const int64_t added_ns = second.total_run_ns - second_before.total_run_ns;
  EXPECT_GE(added_ns, std::chrono::duration_cast<std::chrono::nanoseconds>(inside).count());
  EXPECT_GE(second.max_run_ns, added_ns);
  EXPECT_NE(nullptr, GetProgramCounter());
  EXPECT_EQ("f@file.cc:12", Location("f", "file.cc", 12, nullptr).ToString());
}

}  // namespace
}  // namespace tracked_objects
