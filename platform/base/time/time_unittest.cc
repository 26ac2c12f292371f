#include "base/time/time.h"

#include <vector>

#include "gtest/gtest.h"

namespace base {
namespace {

TEST(TimeTest, ExplodeInUtc) {
  const Time before_1970 = Time::FromInternalValue(-1);  // no wrapping into 1970
  Time::Exploded e{};
  before_1970.UTCExplode(&e);
  // Year, month, day, day of week (a Wednesday), hour, minute, second, millisecond.
  EXPECT_EQ((std::vector<int>{1969, 12, 31, 3, 23, 59, 59, 999}),
            (std::vector<int>{e.year, e.month, e.day_of_month, e.day_of_week, e.hour, e.minute,
                              e.second, e.millisecond}));
  EXPECT_EQ("23:59:59.999999", before_1970.UTCTimeOfDay(true));
  const Time later = Time::FromInternalValue(1399619103250017LL);
  EXPECT_EQ("07:05:03.250017", later.UTCTimeOfDay(true));
  EXPECT_EQ("07:05:03.250", later.UTCTimeOfDay(false));
}

}  // namespace
}  // namespace base
