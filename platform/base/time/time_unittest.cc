#include "base/time/time.h"

#include <cstdio>
#include <string>

#include "gtest/gtest.h"

namespace base {
namespace {

// "YYYY-MM-DD (day of week) hh:mm:ss.mmm"
std::string Fields(const Time::Exploded& e) {
  char text[64];
  std::snprintf(text, sizeof(text), "%04d-%02d-%02d (%d) %02d:%02d:%02d.%03d", e.year, e.month,
                e.day_of_month, e.day_of_week, e.hour, e.minute, e.second, e.millisecond);
  return text;
}

TEST(TimeTest, ExplodeInUtc) {
  const struct {
    int64_t us;
    const char* fields;
    const char* time_of_day;  // with microseconds
  } kCases[] = {
      {1399619103250017LL, "2014-05-09 (5) 07:05:03.250", "07:05:03.250017"},  // a Friday
      {-1, "1969-12-31 (3) 23:59:59.999", "23:59:59.999999"},  // before 1970, no wrapping
  };
  for (const auto& c : kCases) {
    const Time time = Time::FromInternalValue(c.us);
    Time::Exploded exploded{};
    time.UTCExplode(&exploded);
    EXPECT_EQ(c.fields, Fields(exploded));
    EXPECT_EQ(c.time_of_day, time.UTCTimeOfDay(true));
    EXPECT_EQ(std::string(c.time_of_day, 12), time.UTCTimeOfDay(false));
  }
}

TEST(TimeTest, LocalExplodeRoundTripsThroughFromExploded) {
  const Time::Exploded exploded{2021, 12, 5, 31, 23, 59, 58, 999};
  Time::Exploded back{};
  Time::FromExploded(true, exploded).Explode(true, &back);
  EXPECT_EQ(Fields(exploded), Fields(back));
}

Time FixedNow() {
  return Time::FromTimeT(86400);
}

TEST(TimeTest, NowCanBeReplacedForTests) {
  Time::SetNowFunctionForTesting(&FixedNow);
  EXPECT_EQ(86400, Time::Now().ToTimeT());
  Time::SetNowFunctionForTesting(nullptr);
  EXPECT_LT(Time::FromTimeT(1600000000), Time::Now());
}

}  // namespace
}  // namespace base
