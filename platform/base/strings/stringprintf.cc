#include "base/strings/stringprintf.h"

#include <cstdio>
#include <vector>

namespace base {

std::string StringPrintf(const char* format, ...) {
  va_list ap;
  va_start(ap, format);
  std::string result;
  StringAppendV(&result, format, ap);
  va_end(ap);
  return result;
}

void StringAppendV(std::string* dst, const char* format, va_list ap) {
  char stack_buffer[256];
  va_list ap_copy;
  va_copy(ap_copy, ap);
  const int length = std::vsnprintf(stack_buffer, sizeof(stack_buffer), format, ap_copy);
  va_end(ap_copy);
  if (length < 0)
    return;
  if (static_cast<size_t>(length) < sizeof(stack_buffer)) {
    dst->append(stack_buffer, static_cast<size_t>(length));
    return;
  }
  std::vector<char> heap_buffer(static_cast<size_t>(length) + 1);
  va_copy(ap_copy, ap);
  std::vsnprintf(heap_buffer.data(), heap_buffer.size(), format, ap_copy);
  va_end(ap_copy);
  dst->append(heap_buffer.data(), static_cast<size_t>(length));
}

}  // namespace base
