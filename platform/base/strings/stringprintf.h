// printf-style formatting into a std::string.

#ifndef BASE_STRINGS_STRINGPRINTF_H_
#define BASE_STRINGS_STRINGPRINTF_H_

#include <cstdarg>
#include <string>

namespace base {

std::string StringPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
void StringAppendV(std::string* dst, const char* format, va_list ap)
    __attribute__((format(printf, 2, 0)));

}  // namespace base

#endif  // BASE_STRINGS_STRINGPRINTF_H_
