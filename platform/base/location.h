// Where a piece of work was posted or run from: function, file, line and program counter.

#ifndef BASE_LOCATION_H_
#define BASE_LOCATION_H_

#include <string>

namespace tracked_objects {

class Location {
 public:
  // The strings must outlive the location; literals are the usual case.
  Location(const char* function_name,
           const char* file_name,
           int line_number,
           const void* program_counter);
  Location();

  const char* function_name() const { return function_name_; }
  const char* file_name() const { return file_name_; }
  int line_number() const { return line_number_; }
  const void* program_counter() const { return program_counter_; }

  // "function@file:line".
  std::string ToString() const;

 private:
  const char* function_name_;
  const char* file_name_;
  int line_number_;
  const void* program_counter_;
};

// The caller's return address: a program counter inside the calling function.
const void* GetProgramCounter();

}  // namespace tracked_objects

#define FROM_HERE \
  ::tracked_objects::Location(__func__, __FILE__, __LINE__, ::tracked_objects::GetProgramCounter())

#endif  // BASE_LOCATION_H_
