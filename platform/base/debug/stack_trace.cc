#include "base/debug/stack_trace.h"

#include <execinfo.h>

#include <cstdlib>

namespace base {
namespace debug {

StackTrace::StackTrace() {
  count_ = backtrace(trace_, kMaxTraces);
  if (count_ < 0)
    count_ = 0;
}

const void* const* StackTrace::Addresses(size_t* count) const {
  *count = static_cast<size_t>(count_);
  return trace_;
}

std::string StackTrace::ToString() const {
  std::string result;
  char** symbols = backtrace_symbols(trace_, count_);
  for (int i = 0; i < count_; ++i) {
    result += "\n\t#";
    result += std::to_string(i);
    result += ' ';
    result += symbols ? symbols[i] : "?";
  }
  std::free(symbols);
  return result;
}

}  // namespace debug
}  // namespace base
