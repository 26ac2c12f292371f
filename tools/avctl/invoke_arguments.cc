#include "tools/avctl/invoke_arguments.h"

#include <memory>

#include "base/values.h"

namespace avctl {

namespace {

// "an array", "a string", ...
std::string ArticleAndType(const Json& json) {
  const std::string type = json.type_name();
  return (type == "array" || type == "object" ? "an " : "a ") + type;
}

}  // namespace

bool ParseArgumentPair(const std::string& word, std::string* key, Json* value, std::string* error) {
  const size_t equals = word.find('=');
  if (equals == std::string::npos) {
    *error = "\"" + word + "\" is neither key=value nor key:=JSON";
    return false;
  }
  const bool typed = equals > 0 && word[equals - 1] == ':';
  *key = word.substr(0, typed ? equals - 1 : equals);
  if (key->empty()) {
    *error = "\"" + word + "\" has an empty key";
    return false;
  }
  const std::string text = word.substr(equals + 1);
  if (!typed) {
    *value = text;
    return true;
  }
  std::string parse_error;
  if (!ParseJson(text, value, &parse_error)) {
    *error = "the value of \"" + *key + "\" is not JSON: " + parse_error;
    return false;
  }
  return true;
}

std::unique_ptr<base::DictionaryValue> BuildInvokeArguments(const std::string* args_json,
                                                            const std::vector<std::string>& pairs,
                                                            std::string* error) {
  Json dictionary = Json::object();
  if (args_json) {
    std::string parse_error;
    if (!ParseJson(*args_json, &dictionary, &parse_error)) {
      *error = "--args is not JSON: " + parse_error;
      return nullptr;
    }
    if (!dictionary.is_object()) {
      *error = std::string("--args must be a JSON object, not ") + ArticleAndType(dictionary);
      return nullptr;
    }
  }
  for (const std::string& word : pairs) {
    std::string key;
    Json value;
    if (!ParseArgumentPair(word, &key, &value, error))
      return nullptr;
    dictionary[key] = std::move(value);
  }
  std::string convert_error;
  std::unique_ptr<base::Value> converted = ValueFromJson(dictionary, &convert_error);
  if (!converted) {
    *error = "the arguments cannot be sent: " + convert_error;
    return nullptr;
  }
  return std::unique_ptr<base::DictionaryValue>(
      static_cast<base::DictionaryValue*>(converted.release()));
}

}  // namespace avctl
