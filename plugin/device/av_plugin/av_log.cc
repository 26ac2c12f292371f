#include "plugin/device/av_plugin/av_log.h"

namespace av {

int log_level = 0;

void ReadLogLevel() {
  runtime::ReadModuleLogLevel("av_log_level", &log_level);
}

}  // namespace av
