#include "base/tracked_objects.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace tracked_objects {

// The tally of one location. Counters are atomics so that a finished scope adds to them
// without taking the table's lock.
class Births {
 public:
  explicit Births(const Location& location) : location_(location) {}

  void RecordRun(int64_t run_ns) {
    run_count_.fetch_add(1, std::memory_order_relaxed);
    total_run_ns_.fetch_add(run_ns, std::memory_order_relaxed);
    int64_t max = max_run_ns_.load(std::memory_order_relaxed);
    while (run_ns > max &&
           !max_run_ns_.compare_exchange_weak(max, run_ns, std::memory_order_relaxed)) {
    }
  }

  ProfileSnapshot Snapshot() const {
    return ProfileSnapshot{location_.function_name(),
                           location_.file_name(),
                           location_.line_number(),
                           run_count_.load(std::memory_order_relaxed),
                           total_run_ns_.load(std::memory_order_relaxed),
                           max_run_ns_.load(std::memory_order_relaxed)};
  }

 private:
  const Location location_;
  std::atomic<int64_t> run_count_{0};
  std::atomic<int64_t> total_run_ns_{0};
  std::atomic<int64_t> max_run_ns_{0};
};

namespace {

struct LocationKey {
  const char* function_name;
  const char* file_name;
  int line_number;

  bool operator==(const LocationKey& other) const {
    return function_name == other.function_name && file_name == other.file_name &&
           line_number == other.line_number;
  }
};

struct LocationKeyHash {
  size_t operator()(const LocationKey& key) const {
    const size_t h1 = std::hash<const void*>()(key.function_name);
    const size_t h2 = std::hash<const void*>()(key.file_name);
    return h1 ^ (h2 * 31) ^ static_cast<size_t>(key.line_number);
  }
};

// The table of tallies. Entries are never removed, so a Births pointer stays valid.
class BirthTable {
 public:
  Births* Find(const Location& location) {
    const LocationKey key{location.function_name(), location.file_name(), location.line_number()};
    std::lock_guard<std::mutex> lock(lock_);
    std::unique_ptr<Births>& births = table_[key];
    if (!births)
      births = std::make_unique<Births>(location);
    return births.get();
  }

  std::vector<ProfileSnapshot> Snapshot() {
    std::lock_guard<std::mutex> lock(lock_);
    std::vector<ProfileSnapshot> result;
    result.reserve(table_.size());
    for (const auto& entry : table_)
      result.push_back(entry.second->Snapshot());
    return result;
  }

 private:
  std::mutex lock_;
  std::unordered_map<LocationKey, std::unique_ptr<Births>, LocationKeyHash> table_;
};

BirthTable& GetBirthTable() {
  static BirthTable* table = new BirthTable;  // never destroyed: scopes may end at exit
  return *table;
}

}  // namespace

ScopedProfile::ScopedProfile(const Location& location)
    : births_(GetBirthTable().Find(location)), start_(std::chrono::steady_clock::now()) {}

ScopedProfile::~ScopedProfile() {
  const auto elapsed = std::chrono::steady_clock::now() - start_;
  births_->RecordRun(std::chrono::duration_cast<std::chrono::nanoseconds>(elapsed).count());
}

std::vector<ProfileSnapshot> GetProfileSnapshot() {
  return GetBirthTable().Snapshot();
}

}  // namespace tracked_objects
