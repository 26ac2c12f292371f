#include "base/time/time.h"

#include <cstdio>

#include <atomic>

namespace base {

namespace {

constexpr int64_t kMicrosecondsPerSecond = 1000000;

std::atomic<Time::NowFunction> g_now_function{nullptr};

// Floor division, so that times before 1970 break down correctly too.
int64_t FloorDiv(int64_t value, int64_t divisor) {
  int64_t quotient = value / divisor;
  if ((value % divisor) < 0)
    --quotient;
  return quotient;
}

}  // namespace

// static
Time Time::Now() {
  if (NowFunction now = g_now_function.load())
    return now();
  timespec ts{};
  clock_gettime(CLOCK_REALTIME, &ts);
  return Time(static_cast<int64_t>(ts.tv_sec) * kMicrosecondsPerSecond + ts.tv_nsec / 1000);
}

// static
Time Time::FromTimeT(time_t seconds) {
  return Time(static_cast<int64_t>(seconds) * kMicrosecondsPerSecond);
}

// static
Time Time::FromInternalValue(int64_t microseconds_since_epoch) {
  return Time(microseconds_since_epoch);
}

// static
Time Time::FromExploded(bool is_local, const Exploded& exploded) {
  tm fields{};
  fields.tm_year = exploded.year - 1900;
  fields.tm_mon = exploded.month - 1;
  fields.tm_mday = exploded.day_of_month;
  fields.tm_hour = exploded.hour;
  fields.tm_min = exploded.minute;
  fields.tm_sec = exploded.second;
  fields.tm_isdst = -1;
  const time_t seconds = is_local ? mktime(&fields) : timegm(&fields);
  return Time(static_cast<int64_t>(seconds) * kMicrosecondsPerSecond +
              static_cast<int64_t>(exploded.millisecond) * 1000);
}

// static
void Time::SetNowFunctionForTesting(NowFunction now) {
  g_now_function.store(now);
}

time_t Time::ToTimeT() const {
  return static_cast<time_t>(FloorDiv(us_, kMicrosecondsPerSecond));
}

void Time::Explode(bool is_local, Exploded* exploded) const {
  const time_t seconds = ToTimeT();
  const int64_t us_in_second = us_ - static_cast<int64_t>(seconds) * kMicrosecondsPerSecond;
  tm fields{};
  if (is_local)
    localtime_r(&seconds, &fields);
  else
    gmtime_r(&seconds, &fields);
  exploded->year = fields.tm_year + 1900;
  exploded->month = fields.tm_mon + 1;
  exploded->day_of_week = fields.tm_wday;
  exploded->day_of_month = fields.tm_mday;
  exploded->hour = fields.tm_hour;
  exploded->minute = fields.tm_min;
  exploded->second = fields.tm_sec;
  exploded->millisecond = static_cast<int>(us_in_second / 1000);
}

std::string Time::UTCTimeOfDay(bool microseconds) const {
  Exploded exploded;
  UTCExplode(&exploded);
  const int64_t us_in_second = us_ - static_cast<int64_t>(ToTimeT()) * kMicrosecondsPerSecond;
  char text[32];
  if (microseconds) {
    std::snprintf(text, sizeof(text), "%02d:%02d:%02d.%06d", exploded.hour, exploded.minute,
                  exploded.second, static_cast<int>(us_in_second));
  } else {
    std::snprintf(text, sizeof(text), "%02d:%02d:%02d.%03d", exploded.hour, exploded.minute,
                  exploded.second, exploded.millisecond);
  }
  return text;
}

}  // namespace base
