#include "tools/tarn-host/host_config.h"

#include <sstream>

#include "base/logging.h"
#include "tvapp/application_base.h"

namespace tarn_host {

const char kMinLogLevelOption[] = "min_log_level";
const char kReplyTimeLimitOption[] = "reply_time_limit_ms";
const char kTraceOption[] = "trace";
const char kAvLogLevelOption[] = "av_log_level";

namespace {

const struct {
  IPC::Channel::Mode mode;
  const char* name;
} kModeNames[] = {
    {IPC::Channel::MODE_SERVER, "server"},
    {IPC::Channel::MODE_CLIENT, "client"},
    {IPC::Channel::MODE_NAMED_SERVER, "named_server"},
    {IPC::Channel::MODE_NAMED_CLIENT, "named_client"},
};

// |text| as the value of an XML attribute in double quotes.
std::string Quoted(const std::string& text) {
  std::string quoted = "\"";
  for (char c : text) {
    switch (c) {
      case '&':
        quoted += "&amp;";
        break;
      case '<':
        quoted += "&lt;";
        break;
      case '>':
        quoted += "&gt;";
        break;
      case '"':
        quoted += "&quot;";
        break;
      default:
        quoted += c;
    }
  }
  return quoted + "\"";
}

std::string EndpointText(const ApplicationConfig& application) {
  switch (application.endpoint) {
    case ApplicationConfig::kBuiltin:
      return "builtin";
    case ApplicationConfig::kUnixSocket:
      return "unix:" + application.socket_path;
    case ApplicationConfig::kKernelCec:
      break;
  }
  return "cec:" + application.cec.device_path;
}

// The <application> element, with the kernel CEC application's settings when it has them.
void WriteApplication(const ApplicationConfig& application, std::ostringstream* xml) {
  *xml << "  <application name=" << Quoted(application.name)
       << " endpoint=" << Quoted(EndpointText(application));
  if (application.endpoint != ApplicationConfig::kKernelCec) {
    *xml << "/>\n";
    return;
  }
  const cecapp::CecConfig& cec = application.cec;
  *xml << " device_type=" << Quoted(cecapp::DeviceTypeName(cec.device_type))
       << " audio_address=" << Quoted(std::to_string(cec.audio_address))
       << " reply_timeout_ms=" << Quoted(std::to_string(cec.reply_timeout.count())) << ">\n";
  for (const auto& command : cec.sound_mode_commands)
    *xml << "    <sound_mode number=" << Quoted(std::to_string(command.first))
         << " command=" << Quoted(cecapp::CommandText(command.second)) << "/>\n";
  *xml << "  </application>\n";
}

}  // namespace

HostConfig::HostConfig()
    : min_log_level(logging::LOG_INFO), reply_time_limit(ORVELL0300::kDefaultReplyTimeLimit) {}

HostConfig::~HostConfig() = default;

std::string HostConfig::ToXml() const {
  std::ostringstream xml;
  xml << "<config>\n";
  for (const auto& option : options)
    xml << "  <option name=" << Quoted(option.first) << " value=" << Quoted(option.second)
        << "/>\n";
  for (const ComponentConfig& component : components) {
    xml << "  <component library=" << Quoted(component.library) << ">\n";
    for (const LinkConfig& link : component.links) {
      const char* mode = ChannelModeName(link.mode);
      xml << "    <link channel=" << Quoted(link.channel)
          << " mode=" << Quoted(mode ? mode : "none") << "/>\n";
    }
    xml << "  </component>\n";
  }
  for (const ApplicationConfig& application : applications)
    WriteApplication(application, &xml);
  xml << "  <control channel=" << Quoted(control_channel) << "/>\n";
  xml << "</config>\n";
  return xml.str();
}

const char* ChannelModeName(IPC::Channel::Mode mode) {
  for (const auto& entry : kModeNames) {
    if (entry.mode == mode)
      return entry.name;
  }
  return nullptr;
}

bool ChannelModeFromName(const std::string& name, IPC::Channel::Mode* mode) {
  for (const auto& entry : kModeNames) {
    if (name == entry.name) {
      *mode = entry.mode;
      return true;
    }
  }
  return false;
}

}  // namespace tarn_host
