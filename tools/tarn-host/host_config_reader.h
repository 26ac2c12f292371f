// Reads config.xml, the one reader of it: tarn-host runs what it names and hands its
// <option>s to the runtime, which reads no file of its own.
//
//   <config>
//     <option name="av_log_level" value="LOG_INFO"/>
//     <component library="libtarn_av_plugin.so">
//       <link channel="/run/user/1000/tarn/av_plugin.sock" mode="named_server"/>
//     </component>
//     <application name="nimbara.native.cec" endpoint="builtin"/>
//     <control channel="/run/user/1000/tarn/control.sock"/>
//   </config>
//
// Every element and attribute is checked: an unknown, missing, repeated or malformed one is
// an error of the form "FILE:LINE: what is wrong". docs/config.md describes the format.

#ifndef TOOLS_TARN_HOST_HOST_CONFIG_READER_H_
#define TOOLS_TARN_HOST_HOST_CONFIG_READER_H_

#include <string>

namespace tarn_host {

struct HostConfig;

class HostConfigReader {
 public:
  HostConfigReader() = delete;

  // Reads the file at |path| into |*config|. False, with |*config| untouched and |*error|
  // set, when it cannot be read or is not a valid configuration.
  static bool Load(const std::string& path, HostConfig* config, std::string* error);

  // Reads configuration text; |name| stands for the file in error messages.
  static bool Parse(const std::string& text,
                    const std::string& name,
                    HostConfig* config,
                    std::string* error);
};

}  // namespace tarn_host

#endif  // TOOLS_TARN_HOST_HOST_CONFIG_READER_H_
