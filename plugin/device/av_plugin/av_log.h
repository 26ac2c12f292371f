// The AV plugin's module log level and its log line.
//
//   AV_LOG(logging::LOG_INFO) << "Call Init()";
//
// inside Init writes " #av#Init#  Call Init()" when both the platform minimum and
// av::log_level let LOG_INFO through.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_AV_LOG_H_
#define PLUGIN_DEVICE_AV_PLUGIN_AV_LOG_H_

#include "runtime/module_level_log.h"

namespace av {

// The module's threshold: 0 at load, set once from "av_log_level" when the component
// initialises, read without a lock afterwards.
extern int log_level;

// Reads "av_log_level" from the runtime's configuration into log_level.
void ReadLogLevel();

}  // namespace av

// A module line from the function that contains it.
#define AV_LOG(severity) MODULE_LEVEL_LOG("av", ::av::log_level, severity, __func__)

// A module line on behalf of |function|, for helpers shared by several operations.
#define AV_LOG_AS(severity, function) MODULE_LEVEL_LOG("av", ::av::log_level, severity, function)

#endif  // PLUGIN_DEVICE_AV_PLUGIN_AV_LOG_H_
