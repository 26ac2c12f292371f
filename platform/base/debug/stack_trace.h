// The call stack at the point of construction, for diagnostics.

#ifndef BASE_DEBUG_STACK_TRACE_H_
#define BASE_DEBUG_STACK_TRACE_H_

#include <cstddef>
#include <string>

namespace base {
namespace debug {

class StackTrace {
 public:
  // Captures the stack of the calling thread.
  StackTrace();

  // The captured return addresses, innermost first; |*count| receives their number.
  const void* const* Addresses(size_t* count) const;

  // One line per frame, "\n"-separated and beginning with a newline, each with the
  // frame's address and, where the dynamic symbol table knows it, its symbol.
  std::string ToString() const;

 private:
  static constexpr int kMaxTraces = 62;

  void* trace_[kMaxTraces];
  int count_ = 0;
};

}  // namespace debug
}  // namespace base

#endif  // BASE_DEBUG_STACK_TRACE_H_
