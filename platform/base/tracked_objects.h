// A small profiler: per code location, how often a scope ran and for how long.
//
//   tracked_objects::ScopedProfile profile(FROM_HERE);
//
// tallies the enclosing scope under its location. Locations are told apart by their
// function name, file name and line, which are compared by address: pass literals.

#ifndef BASE_TRACKED_OBJECTS_H_
#define BASE_TRACKED_OBJECTS_H_

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "base/location.h"

namespace tracked_objects {

class Births;

// The tally of one location at the time of the snapshot.
struct ProfileSnapshot {
  std::string function_name;
  std::string file_name;
  int line_number;
  int64_t run_count;
  int64_t total_run_ns;
  int64_t max_run_ns;
};

class ScopedProfile {
 public:
  explicit ScopedProfile(const Location& location);
  ~ScopedProfile();
  ScopedProfile(const ScopedProfile&) = delete;
  ScopedProfile& operator=(const ScopedProfile&) = delete;

 private:
  Births* births_;  // not owned: tallies live as long as the process
  std::chrono::steady_clock::time_point start_;
};

// Every location's tally, in no particular order.
std::vector<ProfileSnapshot> GetProfileSnapshot();

}  // namespace tracked_objects

#endif  // BASE_TRACKED_OBJECTS_H_
