#include "runtime/module_level_log.h"

#include "runtime/runtime.h"

namespace runtime {

namespace {

struct LevelName {
  const char* name;
  int level;
};

// Compared in this order; the first equal name wins.
const LevelName kLevelNames[] = {
    {"LOG_VERBOSE", logging::LOG_VERBOSE},           {"LOG_INFO", logging::LOG_INFO},
    {"LOG_WARNING", logging::LOG_WARNING},           {"LOG_ERROR", logging::LOG_ERROR},
    {"LOG_ERROR_REPORT", logging::LOG_ERROR_REPORT}, {"LOG_FATAL", logging::LOG_FATAL},
};

}  // namespace

void ReadModuleLogLevel(const std::string& key, int* level) {
  std::string value;
  Runtime::GetInstance()->GetConfigOption(key, value);
  if (value.empty()) {
    LOG_AT(logging::LOG_INFO) << "There is no option/value for " << key << "  in config.xml.";
    return;
  }
  for (const LevelName& entry : kLevelNames) {
    if (value == entry.name) {
      *level = entry.level;
      return;
    }
  }
  LOG_AT(logging::LOG_INFO) << "The value given for  " << key << " in config.xml is not supported.";
}

}  // namespace runtime
