// The runtime's configuration file, config.xml:
//
//   <config>
//     <option name="av_log_level" value="LOG_INFO"/>
//   </config>
//
// Options are <option> elements directly under the root element; other elements are left
// to whoever reads them.

#ifndef RUNTIME_CONFIG_FILE_H_
#define RUNTIME_CONFIG_FILE_H_

#include <map>
#include <string>

namespace runtime {

class ConfigFile {
 public:
  ConfigFile() = default;

  // Reads |path|. A file that does not exist is an empty configuration. A malformed file
  // gives false, no options, and |*error| set to "PATH:LINE: what is wrong".
  bool Load(const std::string& path, std::string* error);

  // Reads configuration text; |name| stands for the file in error messages.
  bool Parse(const std::string& text, const std::string& name, std::string* error);

  // Option name to value. A later option of the same name replaces an earlier one.
  const std::map<std::string, std::string>& options() const { return options_; }

 private:
  std::map<std::string, std::string> options_;
};

}  // namespace runtime

#endif  // RUNTIME_CONFIG_FILE_H_
