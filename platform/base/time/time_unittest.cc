#include "base/time/time.h"

#include <cstdlib>

#include "gtest/gtest.h"

namespace base {
namespace {

TEST(TimeTest, ExplodeInUtc) {
  // 2014-05-09 07:05:03.250 UTC, a Friday.
  const Time time = Time::FromInternalValue(1399619103250000LL);
  Time::Exploded exploded{};
  time.UTCExplode(&exploded);
  EXPECT_EQ(2014, exploded.year);
  EXPECT_EQ(5, exploded.month);
  EXPECT_EQ(9, exploded.day_of_month);
  EXPECT_EQ(5, exploded.day_of_week);
  EXPECT_EQ(7, exploded.hour);
  EXPECT_EQ(5, exploded.minute);
  EXPECT_EQ(3, exploded.second);
  EXPECT_EQ(250, exploded.millisecond);
  EXPECT_EQ("07:05:03.250", time.UTCTimeOfDay(false));
  EXPECT_EQ("07:05:03.250017", Time::FromInternalValue(1399619103250017LL).UTCTimeOfDay(true));
}

TEST(TimeTest, LocalExplodeRoundTripsThroughFromExploded) {
  Time::Exploded exploded{2021, 12, 0, 31, 23, 59, 58, 999};
  const Time time = Time::FromExploded(true, exploded);
  Time::Exploded back{};
  time.Explode(true, &back);
  EXPECT_EQ(2021, back.year);
  EXPECT_EQ(12, back.month);
  EXPECT_EQ(31, back.day_of_month);
  EXPECT_EQ(23, back.hour);
  EXPECT_EQ(59, back.minute);
  EXPECT_EQ(58, back.second);
  EXPECT_EQ(999, back.millisecond);
}

TEST(TimeTest, BeforeTheEpochBreaksDownWithoutWrapping) {
  Time::Exploded exploded{};
  Time::FromInternalValue(-1).UTCExplode(&exploded);  // one microsecond before 1970
  EXPECT_EQ(1969, exploded.year);
  EXPECT_EQ(23, exploded.hour);
  EXPECT_EQ(59, exploded.second);
  EXPECT_EQ(999, exploded.millisecond);
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
