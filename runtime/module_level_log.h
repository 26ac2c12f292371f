// A component's own log threshold, on top of the platform's minimum level.
//
// A module line of severity S is written only when the platform minimum and the module's
// level are both at most S. It reads " #MODULE#FUNCTION#  message". A line that is gated
// off costs the two comparisons and nothing else: no operand is evaluated.

#ifndef RUNTIME_MODULE_LEVEL_LOG_H_
#define RUNTIME_MODULE_LEVEL_LOG_H_

#include <string>

#include "base/logging.h"

namespace runtime {

// Sets |*level| from the configuration option |key|, whose value must be one of the
// severity names "LOG_VERBOSE" to "LOG_FATAL". A missing or unsupported value leaves
// |*level| as it was and writes an informational line saying so.
void ReadModuleLogLevel(const std::string& key, int* level);

}  // namespace runtime

// A module line written as if from |function| (a bare function name).
#define MODULE_LEVEL_LOG(module_name, module_level, severity, function)        \
  !(::logging::GetMinLogLevel() <= (severity) && (module_level) <= (severity)) \
      ? (void)0                                                                \
      : ::logging::LogMessageVoidify() &                                       \
            ::logging::LogMessage(__FILE__, __LINE__, (severity)).stream()     \
                << " #" module_name "#" << (function) << "#  "

#endif  // RUNTIME_MODULE_LEVEL_LOG_H_
