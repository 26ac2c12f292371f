#include "tools/tarn-host/host_config_reader.h"

#include <sys/stat.h>
#include <sys/un.h>
#include <tinyxml2.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <map>
#include <sstream>

#include "base/logging.h"
#include "tools/tarn-host/host_config.h"
#include "tvapp/simulator/receiver_simulator.h"

namespace tarn_host {

namespace {

using tinyxml2::XMLAttribute;
using tinyxml2::XMLElement;

const size_t kMaxSocketPathLength = sizeof(sockaddr_un::sun_path) - 1;
const char kBuiltinEndpoint[] = "builtin";
const char kUnixEndpointPrefix[] = "unix:";
const char kCecEndpointPrefix[] = "cec:";
// The attributes of <application>; a kernel CEC application has more.

// Reads one document; stops at the first fault, which it describes in |*error|.
class Reader {
 public:
  Reader(const std::string& name, std::string* error) : name_(name), error_(error) {}

  bool Read(const tinyxml2::XMLDocument& document, HostConfig* config);

 private:
  bool Fail(int line, const std::string& what);

  // Fails on an attribute of |element| that is not in |known|.
  bool CheckAttributes(const XMLElement* element, std::initializer_list<const char*> known);
  // Fails on an attribute of |element| that is not in |known|, and on a child element.
  bool CheckShape(const XMLElement* element, std::initializer_list<const char*> known);
  // Sets |*value| to the optional attribute |name| of |element|, a whole number from
  // |min| to |max| (|what| describes it in the error); leaves it alone when not given.
  bool Number(const XMLElement* element,
              const char* name,
              long min,
              long max,
              const std::string& what,
              long* value);
  // Sets |*value| to the attribute |name| of |element|, which must be there and not empty.
  bool Required(const XMLElement* element, const char* name, std::string* value);
  // |path|, given in |element|'s attribute |name|, must fit a Unix socket address and not
  // be used by another element.
  bool CheckSocketPath(const XMLElement* element, const char* name, const std::string& path);

  bool ReadOption(const XMLElement* element, HostConfig* config);
  bool ReadComponent(const XMLElement* element, HostConfig* config);
  bool ReadLink(const XMLElement* element, ComponentConfig* component);
  bool ReadApplication(const XMLElement* element, HostConfig* config);
  // The settings of the kernel CEC application: attributes and <sound_mode> children.
  bool ReadCecApplication(const XMLElement* element, cecapp::CecConfig* cec);
  bool ReadSoundMode(const XMLElement* element, cecapp::CecConfig* cec);
  bool ReadControl(const XMLElement* element, HostConfig* config);

  const std::string name_;
  std::string* const error_;                 // not owned
  std::map<std::string, int> socket_paths_;  // path to the line that uses it
  std::map<std::string, int> applications_;  // name to the line that gives it
  int control_line_ = 0;
};

std::string Quote(const std::string& text) {
  return "\"" + text + "\"";
}

int AttributeLine(const XMLElement* element, const char* name) {
  const XMLAttribute* attribute = element->FindAttribute(name);
  return attribute ? attribute->GetLineNum() : element->GetLineNum();
}

bool Reader::Read(const tinyxml2::XMLDocument& document, HostConfig* config) {
  const XMLElement* root = document.RootElement();
  if (root == nullptr)
    return Fail(1, "no root element");
  if (std::strcmp(root->Name(), "config") != 0)
    return Fail(root->GetLineNum(),
                "the root element is <" + std::string(root->Name()) + ">; expected <config>");
  if (root->FirstAttribute() != nullptr)
    return Fail(root->FirstAttribute()->GetLineNum(),
                "unknown attribute " + Quote(root->FirstAttribute()->Name()) + " on <config>");
  for (const XMLElement* child = root->FirstChildElement(); child;
       child = child->NextSiblingElement()) {
    const std::string kind = child->Name();
    bool ok = false;
    if (kind == "option")
      ok = ReadOption(child, config);
    else if (kind == "component")
      ok = ReadComponent(child, config);
    else if (kind == "application")
      ok = ReadApplication(child, config);
    else if (kind == "control")
      ok = ReadControl(child, config);
    else
      ok = Fail(child->GetLineNum(), "unknown element <" + kind + "> in <config>");
    if (!ok)
      return false;
  }
  if (config->components.empty())
    return Fail(root->GetLineNum(), "<config> has no <component>");
  if (control_line_ == 0)
    return Fail(root->GetLineNum(), "<config> has no <control>");
  return true;
}

bool Reader::Fail(int line, const std::string& what) {
  *error_ = name_ + ":" + std::to_string(line) + ": " + what;
  return false;
}

bool Reader::CheckAttributes(const XMLElement* element, std::initializer_list<const char*> known) {
  for (const XMLAttribute* attribute = element->FirstAttribute(); attribute;
       attribute = attribute->Next()) {
    bool found = false;
    for (const char* name : known)
      found = found || std::strcmp(attribute->Name(), name) == 0;
    if (!found)
      return Fail(attribute->GetLineNum(), "unknown attribute " + Quote(attribute->Name()) +
                                               " on <" + element->Name() + ">");
  }
  return true;
}

bool Reader::CheckShape(const XMLElement* element, std::initializer_list<const char*> known) {
  if (!CheckAttributes(element, known))
    return false;
  const XMLElement* child = element->FirstChildElement();
  if (child != nullptr)
    return Fail(child->GetLineNum(), "unknown element <" + std::string(child->Name()) + "> in <" +
                                         element->Name() + ">");
  return true;
}

bool Reader::Required(const XMLElement* element, const char* name, std::string* value) {
  const char* text = element->Attribute(name);
  if (text == nullptr)
    return Fail(element->GetLineNum(),
                "<" + std::string(element->Name()) + "> needs a " + Quote(name) + " attribute");
  if (*text == '\0')
    return Fail(AttributeLine(element, name),
                "the " + Quote(name) + " attribute of <" + element->Name() + "> is empty");
  *value = text;
  return true;
}

bool Reader::CheckSocketPath(const XMLElement* element, const char* name, const std::string& path) {
  const int line = AttributeLine(element, name);
  if (path.empty())
    return Fail(line, "the socket path in the " + Quote(name) + " attribute of <" +
                          element->Name() + "> is empty");
  if (path.size() > kMaxSocketPathLength)
    return Fail(line, "the socket path " + Quote(path) + " is longer than " +
                          std::to_string(kMaxSocketPathLength) + " bytes");
  auto inserted = socket_paths_.emplace(path, line);
  if (!inserted.second)
    return Fail(line, "the socket path " + Quote(path) + " is already used at line " +
                          std::to_string(inserted.first->second));
  return true;
}

// The options the host or the AV plugin reads; a component may read others.
const char* const kKnownOptions[] = {kMinLogLevelOption, kReplyTimeLimitOption, kTraceOption,
                                     kAvLogLevelOption};

// A sentence for a document tinyxml2 could not parse.
std::string DescribeXmlError(tinyxml2::XMLError error) {
  switch (error) {
    case tinyxml2::XML_ERROR_EMPTY_DOCUMENT:
      return "the file holds no XML";
    case tinyxml2::XML_ERROR_MISMATCHED_ELEMENT:
      return "an element is closed by a tag of another name";
    case tinyxml2::XML_ERROR_PARSING_ELEMENT:
      return "an element is not well formed (an unclosed tag, or text where a tag belongs)";
    case tinyxml2::XML_ERROR_PARSING_ATTRIBUTE:
      return "an attribute is not well formed; write name=\"value\"";
    case tinyxml2::XML_ERROR_PARSING_COMMENT:
      return "a comment is not closed with -->";
    case tinyxml2::XML_ERROR_PARSING_DECLARATION:
      return "the <?xml ...?> declaration is not well formed";
    default:
      return "this is not well-formed XML";
  }
}

bool Reader::ReadOption(const XMLElement* element, HostConfig* config) {
  std::string name;
  if (!CheckShape(element, {"name", "value"}) || !Required(element, "name", &name))
    return false;
  const char* value = element->Attribute("value");
  if (value == nullptr)
    return Fail(element->GetLineNum(), "<option> needs a \"value\" attribute");
  const int line = AttributeLine(element, "value");
  if (name == kMinLogLevelOption && !logging::SeverityFromName(value, &config->min_log_level)) {
    return Fail(line, "option " + Quote(name) +
                          " must be one of LOG_VERBOSE, LOG_INFO, LOG_WARNING, LOG_ERROR, "
                          "LOG_ERROR_REPORT, LOG_FATAL, not " +
                          Quote(value));
  }
  if (name == kReplyTimeLimitOption) {
    const std::string digits = value;
    const bool valid = !digits.empty() && digits.size() <= 7 &&
                       digits.find_first_not_of("0123456789") == std::string::npos &&
                       std::stoll(digits) <= kMaxReplyTimeLimitMs;
    if (!valid)
      return Fail(line, "option " + Quote(name) +
                            " must be a whole number of milliseconds from 0 to " +
                            std::to_string(kMaxReplyTimeLimitMs) + ", not " + Quote(value));
    config->reply_time_limit = std::chrono::milliseconds(std::stoll(digits));
  }
  if (name == kTraceOption) {
    if (std::strcmp(value, "true") != 0 && std::strcmp(value, "false") != 0)
      return Fail(line, "option " + Quote(name) + " must be true or false, not " + Quote(value));
    config->trace = std::strcmp(value, "true") == 0;
  }
  if (std::find(std::begin(kKnownOptions), std::end(kKnownOptions), name) ==
      std::end(kKnownOptions)) {
    std::string known;
    for (const char* option : kKnownOptions)
      known += std::string(known.empty() ? "" : ", ") + option;
    config->warnings.push_back(name_ + ":" + std::to_string(element->GetLineNum()) + ": option " +
                               Quote(name) +
                               " is read by neither the host nor the AV plugin (they read " +
                               known + "); it is handed to the components as it is");
  }
  config->options[name] = value;
  return true;
}

bool Reader::ReadComponent(const XMLElement* element, HostConfig* config) {
  ComponentConfig component;
  for (const XMLAttribute* attribute = element->FirstAttribute(); attribute;
       attribute = attribute->Next()) {
    if (std::strcmp(attribute->Name(), "library") != 0)
      return Fail(attribute->GetLineNum(),
                  "unknown attribute " + Quote(attribute->Name()) + " on <component>");
  }
  if (!Required(element, "library", &component.library))
    return false;
  for (const XMLElement* child = element->FirstChildElement(); child;
       child = child->NextSiblingElement()) {
    if (std::strcmp(child->Name(), "link") != 0)
      return Fail(child->GetLineNum(),
                  "unknown element <" + std::string(child->Name()) + "> in <component>");
    if (!ReadLink(child, &component))
      return false;
  }
  if (component.links.empty())
    return Fail(element->GetLineNum(), "<component> has no <link>");
  config->components.push_back(component);
  return true;
}

bool Reader::ReadLink(const XMLElement* element, ComponentConfig* component) {
  LinkConfig link;
  std::string mode;
  if (!CheckShape(element, {"channel", "mode"}) || !Required(element, "channel", &link.channel) ||
      !CheckSocketPath(element, "channel", link.channel) || !Required(element, "mode", &mode)) {
    return false;
  }
  if (!ChannelModeFromName(mode, &link.mode))
    return Fail(AttributeLine(element, "mode"),
                "unknown link mode " + Quote(mode) +
                    "; expected server, client, named_server or named_client");
  component->links.push_back(link);
  return true;
}

bool Reader::Number(const XMLElement* element,
                    const char* name,
                    long min,
                    long max,
                    const std::string& what,
                    long* value) {
  const char* text = element->Attribute(name);
  if (text == nullptr)
    return true;
  const std::string digits = text;
  if (digits.empty() || digits.size() > 9 ||
      digits.find_first_not_of("0123456789") != std::string::npos || std::stol(digits) < min ||
      std::stol(digits) > max) {
    return Fail(AttributeLine(element, name), Quote(name) + " must be " + what + " from " +
                                                  std::to_string(min) + " to " +
                                                  std::to_string(max) + ", not " + Quote(text));
  }
  *value = std::stol(digits);
  return true;
}

bool Reader::ReadApplication(const XMLElement* element, HostConfig* config) {
  ApplicationConfig application;
  std::string endpoint;
  const char* given_endpoint = element->Attribute("endpoint");
  const std::string cec_prefix = kCecEndpointPrefix;
  const bool kernel_cec = given_endpoint && std::string(given_endpoint).rfind(cec_prefix, 0) == 0;
  const bool shaped = kernel_cec ? CheckAttributes(element, {"name", "endpoint", "device_type",
                                                             "audio_address", "reply_timeout_ms"})
                                 : CheckShape(element, {"name", "endpoint"});
  if (!shaped || !Required(element, "name", &application.name) ||
      !Required(element, "endpoint", &endpoint)) {
    return false;
  }
  const int line = AttributeLine(element, "endpoint");
  const std::string prefix = kUnixEndpointPrefix;
  if (kernel_cec) {
    if (application.name != cec_sim::kCecApplicationName)
      return Fail(line, "the kernel CEC application can only be " +
                            Quote(cec_sim::kCecApplicationName) + ", not " +
                            Quote(application.name));
    application.endpoint = ApplicationConfig::kKernelCec;
    application.cec.device_path = endpoint.substr(cec_prefix.size());
    if (application.cec.device_path.empty())
      return Fail(line, "the device path in the \"endpoint\" attribute of <application> is empty");
    if (!ReadCecApplication(element, &application.cec))
      return false;
  } else if (endpoint == kBuiltinEndpoint) {
    if (application.name != cec_sim::kCecApplicationName)
      return Fail(line, "no built-in application " + Quote(application.name) +
                            "; the built-in one is " + Quote(cec_sim::kCecApplicationName));
    application.endpoint = ApplicationConfig::kBuiltin;
  } else if (endpoint.compare(0, prefix.size(), prefix) == 0) {
    application.endpoint = ApplicationConfig::kUnixSocket;
    application.socket_path = endpoint.substr(prefix.size());
    if (!CheckSocketPath(element, "endpoint", application.socket_path))
      return false;
  } else {
    return Fail(line, "unknown endpoint " + Quote(endpoint) +
                          "; expected \"builtin\", \"unix:SOCKET-PATH\" or \"cec:DEVICE\"");
  }
  auto inserted = applications_.emplace(application.name, element->GetLineNum());
  if (!inserted.second)
    return Fail(element->GetLineNum(), "application " + Quote(application.name) +
                                           " is already given at line " +
                                           std::to_string(inserted.first->second));
  config->applications.push_back(application);
  return true;
}

bool Reader::ReadCecApplication(const XMLElement* element, cecapp::CecConfig* cec) {
  const char* type = element->Attribute("device_type");
  if (type != nullptr && !cecapp::DeviceTypeFromName(type, &cec->device_type))
    return Fail(AttributeLine(element, "device_type"),
                "unknown device type " + Quote(type) +
                    "; expected tv, specific, playback, recording or tuner");
  long address = cec->audio_address;
  long timeout = cec->reply_timeout.count();
  if (!Number(element, "audio_address", 0, 14, "a logical address", &address) ||
      !Number(element, "reply_timeout_ms", 100, cecapp::kMaxReplyTimeoutMs,
              "a whole number of milliseconds", &timeout)) {
    return false;
  }
  cec->audio_address = static_cast<uint8_t>(address);
  cec->reply_timeout = std::chrono::milliseconds(timeout);
  for (const XMLElement* child = element->FirstChildElement(); child;
       child = child->NextSiblingElement()) {
    if (std::strcmp(child->Name(), "sound_mode") != 0)
      return Fail(child->GetLineNum(),
                  "unknown element <" + std::string(child->Name()) + "> in <application>");
    if (!ReadSoundMode(child, cec))
      return false;
  }
  return true;
}

bool Reader::ReadSoundMode(const XMLElement* element, cecapp::CecConfig* cec) {
  std::string number_text;
  std::string command_text;
  long number = -1;
  std::vector<uint8_t> command;
  if (!CheckShape(element, {"number", "command"}) || !Required(element, "number", &number_text) ||
      !Number(element, "number", 0, cecapp::kMaxSoundMode, "a sound mode", &number) ||
      !Required(element, "command", &command_text)) {
    return false;
  }
  if (!cecapp::CommandFromText(command_text, &command))
    return Fail(AttributeLine(element, "command"),
                "the command " + Quote(command_text) +
                    " must be 1 to 15 bytes of two hexadecimal digits, separated by blanks");
  if (!cec->sound_mode_commands.emplace(number, command).second)
    return Fail(element->GetLineNum(), "sound mode " + std::to_string(number) + " is given twice");
  return true;
}

bool Reader::ReadControl(const XMLElement* element, HostConfig* config) {
  if (control_line_ != 0)
    return Fail(element->GetLineNum(),
                "a second <control>; the first is at line " + std::to_string(control_line_));
  std::string channel;
  if (!CheckShape(element, {"channel"}) || !Required(element, "channel", &channel) ||
      !CheckSocketPath(element, "channel", channel)) {
    return false;
  }
  control_line_ = element->GetLineNum();
  config->control_channel = channel;
  return true;
}

}  // namespace

// static
bool HostConfigReader::Load(const std::string& path, HostConfig* config, std::string* error) {
  struct stat status;
  if (stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) {
    *error = path + ": a folder, not a configuration file";
    return false;
  }
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    *error = path + ": cannot read: " + std::strerror(errno);
    return false;
  }
  std::ostringstream text;
  text << file.rdbuf();
  return Parse(text.str(), path, config, error);
}

// static
bool HostConfigReader::Parse(const std::string& text,
                             const std::string& name,
                             HostConfig* config,
                             std::string* error) {
  tinyxml2::XMLDocument document;
  if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
    // An empty document has no line of its own; it is reported at line 1.
    *error = name + ":" + std::to_string(std::max(1, document.ErrorLineNum())) +
             ": malformed XML: " + DescribeXmlError(document.ErrorID());
    return false;
  }
  HostConfig read;
  Reader reader(name, error);
  if (!reader.Read(document, &read))
    return false;
  *config = read;
  return true;
}

}  // namespace tarn_host
