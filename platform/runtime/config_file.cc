#include "runtime/config_file.h"

#include <tinyxml2.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace runtime {

namespace {

std::string Where(const std::string& name, int line) {
  return name + ":" + std::to_string(line) + ": ";
}

}  // namespace

bool ConfigFile::Load(const std::string& path, std::string* error) {
  options_.clear();
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    if (errno == ENOENT)
      return true;
    *error = path + ": cannot read: " + std::strerror(errno);
    return false;
  }
  std::ostringstream text;
  text << file.rdbuf();
  return Parse(text.str(), path, error);
}

bool ConfigFile::Parse(const std::string& text, const std::string& name, std::string* error) {
  options_.clear();
  tinyxml2::XMLDocument document;
  if (document.Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
    *error = Where(name, document.ErrorLineNum()) + "malformed XML: " + document.ErrorStr();
    return false;
  }
  const tinyxml2::XMLElement* root = document.RootElement();
  if (root == nullptr) {
    *error = Where(name, 1) + "no root element";
    return false;
  }
  std::map<std::string, std::string> options;
  for (const tinyxml2::XMLElement* option = root->FirstChildElement("option"); option;
       option = option->NextSiblingElement("option")) {
    const char* key = option->Attribute("name");
    const char* value = option->Attribute("value");
    if (key == nullptr || value == nullptr) {
      *error =
          Where(name, option->GetLineNum()) + "<option> needs both a name and a value attribute";
      return false;
    }
    options[key] = value;
  }
  options_ = std::move(options);
  return true;
}

}  // namespace runtime
