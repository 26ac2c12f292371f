// What the plugin's unit tests share: a fixture that lets every module line through and
// captures what is written, and the lines one function wrote.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_TEST_AV_TEST_H_
#define PLUGIN_DEVICE_AV_PLUGIN_TEST_AV_TEST_H_

#include <string>
#include <utility>
#include <vector>

#include "base/json/json_writer.h"
#include "base/logging.h"
#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_log.h"

namespace plugin {

typedef std::pair<int, std::string> Line;  // severity, message without the module prefix

inline Line Info(const std::string& message) {
  return Line(logging::LOG_INFO, message);
}
inline Line Error(const std::string& message) {
  return Line(logging::LOG_ERROR, message);
}

inline std::string Json(const base::Value& value) {
  std::string json;
  base::JSONWriter::Write(&value, &json);
  return json;
}

class AvTest : public testing::Test {
 protected:
  void SetUp() override {
    logging::SetMinLogLevel(logging::LOG_INFO);
    av::log_level = 0;
  }

  // The module lines that |function| wrote since the capture was last cleared, without
  // their " #av#function#  " prefix.
  std::vector<Line> LinesOf(const std::string& function) const {
    const std::string prefix = " #av#" + function + "#  ";
    std::vector<Line> lines;
    for (const auto& line : capture_.lines()) {
      if (line.message.compare(0, prefix.size(), prefix) == 0)
        lines.emplace_back(line.severity, line.message.substr(prefix.size()));
    }
    return lines;
  }

  logging::ScopedLogCapture capture_;
};

}  // namespace plugin

#endif  // PLUGIN_DEVICE_AV_PLUGIN_TEST_AV_TEST_H_
