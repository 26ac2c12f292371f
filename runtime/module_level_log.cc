#include "runtime/module_level_log.h"

#include "runtime/runtime.h"

namespace runtime {

void ReadModuleLogLevel(const std::string& key, int* level) {
  std::string value;
  Runtime::GetInstance()->GetConfigOption(key, value);
  if (value.empty()) {
    LOG_AT(logging::LOG_INFO) << "There is no option/value for " << key << "  in config.xml.";
    return;
  }
  if (logging::SeverityFromName(value, level))
    return;
  LOG_AT(logging::LOG_INFO) << "The value given for  " << key << " in config.xml is not supported.";
}

}  // namespace runtime
