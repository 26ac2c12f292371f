// Wall-clock time with microsecond resolution, and its breakdown into calendar fields.

#ifndef BASE_TIME_TIME_H_
#define BASE_TIME_TIME_H_

#include <cstdint>
#include <ctime>
#include <string>

namespace base {

class Time {
 public:
  // Calendar fields of a time, in local time or UTC.
  struct Exploded {
    int year;          // four digits, e.g. 2014
    int month;         // 1 (January) to 12
    int day_of_week;   // 0 (Sunday) to 6
    int day_of_month;  // 1 to 31
    int hour;          // 0 to 23
    int minute;        // 0 to 59
    int second;        // 0 to 60 (leap second)
    int millisecond;   // 0 to 999
  };

  // Where Now() reads the time; tests install a fixed clock.
  typedef Time (*NowFunction)();

  Time() = default;

  static Time Now();
  static Time FromTimeT(time_t seconds);
  static Time FromInternalValue(int64_t microseconds_since_epoch);
  // The time that |exploded| names in local time (or UTC).
  static Time FromExploded(bool is_local, const Exploded& exploded);

  // Replaces the clock behind Now(); null restores the system clock.
  static void SetNowFunctionForTesting(NowFunction now);

  int64_t ToInternalValue() const { return us_; }
  time_t ToTimeT() const;

  // Breaks the time down in local time (|is_local|) or in UTC.
  void Explode(bool is_local, Exploded* exploded) const;
  void LocalExplode(Exploded* exploded) const { Explode(true, exploded); }
  void UTCExplode(Exploded* exploded) const { Explode(false, exploded); }

  // "HH:MM:SS.mmm" (|microseconds| false) or "HH:MM:SS.uuuuuu", the time of day in UTC,
  // for log and trace lines.
  std::string UTCTimeOfDay(bool microseconds) const;

  bool operator==(const Time& other) const { return us_ == other.us_; }
  bool operator<(const Time& other) const { return us_ < other.us_; }

 private:
  explicit Time(int64_t us) : us_(us) {}

  int64_t us_ = 0;  // microseconds since 1970-01-01 00:00:00 UTC
};

}  // namespace base

#endif  // BASE_TIME_TIME_H_
