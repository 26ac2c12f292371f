#include "base/location.h"

namespace tracked_objects {

Location::Location(const char* function_name,
                   const char* file_name,
                   int line_number,
                   const void* program_counter)
    : function_name_(function_name),
      file_name_(file_name),
      line_number_(line_number),
      program_counter_(program_counter) {}

Location::Location() : Location("Unknown", "Unknown", -1, nullptr) {}

std::string Location::ToString() const {
  return std::string(function_name_) + "@" + file_name_ + ":" + std::to_string(line_number_);
}

__attribute__((noinline)) const void* GetProgramCounter() {
  return __builtin_extract_return_addr(__builtin_return_address(0));
}

}  // namespace tracked_objects
