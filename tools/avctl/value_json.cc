#include "tools/avctl/value_json.h"

#include <climits>
#include <cmath>
#include <cstdint>

#include "base/values.h"
#include "ipc/ipc_message_utils.h"

namespace avctl {

namespace {

// The same limit as the IPC encoding's: the top-level value is at level 0.
const int kMaxDepth = IPC::kMaxValueDepth;

std::string TooDeep() {
  return "values nest deeper than " + std::to_string(kMaxDepth) + " levels";
}

base::Value* NumberFromJson(const Json& json) {
  if (json.is_number_unsigned()) {
    const uint64_t number = json.get<uint64_t>();
    if (number <= static_cast<uint64_t>(INT_MAX))
      return base::Value::CreateIntegerValue(static_cast<int>(number));
    return base::Value::CreateDoubleValue(static_cast<double>(number));
  }
  if (json.is_number_integer()) {
    const int64_t number = json.get<int64_t>();
    if (number >= INT_MIN && number <= INT_MAX)
      return base::Value::CreateIntegerValue(static_cast<int>(number));
    return base::Value::CreateDoubleValue(static_cast<double>(number));
  }
  return base::Value::CreateDoubleValue(json.get<double>());
}

// Returns a new value owned by the caller, or null with |*error| set.
base::Value* FromJson(const Json& json, int depth, std::string* error) {
  if (depth > kMaxDepth) {
    *error = TooDeep();
    return nullptr;
  }
  switch (json.type()) {
    case Json::value_t::null:
      return base::Value::CreateNullValue();
    case Json::value_t::boolean:
      return base::Value::CreateBooleanValue(json.get<bool>());
    case Json::value_t::number_integer:
    case Json::value_t::number_unsigned:
    case Json::value_t::number_float:
      return NumberFromJson(json);
    case Json::value_t::string:
      return base::Value::CreateStringValue(json.get_ref<const std::string&>());
    case Json::value_t::object: {
      std::unique_ptr<base::DictionaryValue> dictionary(new base::DictionaryValue);
      for (const auto& member : json.items()) {
        base::Value* value = FromJson(member.value(), depth + 1, error);
        if (!value)
          return nullptr;
        dictionary->SetWithoutPathExpansion(member.key(), value);
      }
      return dictionary.release();
    }
    case Json::value_t::array: {
      std::unique_ptr<base::ListValue> list(new base::ListValue);
      for (const Json& element : json) {
        base::Value* value = FromJson(element, depth + 1, error);
        if (!value)
          return nullptr;
        list->Append(value);
      }
      return list.release();
    }
    case Json::value_t::binary:
    case Json::value_t::discarded:
      break;
  }
  *error = std::string("a JSON ") + json.type_name() + " has no value form";
  return nullptr;
}

bool ToJson(const base::Value& value, int depth, Json* json, std::string* error) {
  if (depth > kMaxDepth) {
    *error = TooDeep();
    return false;
  }
  switch (value.GetType()) {
    case base::Value::TYPE_NULL:
      *json = nullptr;
      return true;
    case base::Value::TYPE_BOOLEAN: {
      bool boolean = false;
      value.GetAsBoolean(&boolean);
      *json = boolean;
      return true;
    }
    case base::Value::TYPE_INTEGER: {
      int integer = 0;
      value.GetAsInteger(&integer);
      *json = integer;
      return true;
    }
    case base::Value::TYPE_DOUBLE: {
      double number = 0;
      value.GetAsDouble(&number);
      if (!std::isfinite(number)) {
        *error = "the double " + std::to_string(number) + " has no JSON form";
        return false;
      }
      *json = number;
      return true;
    }
    case base::Value::TYPE_STRING: {
      std::string text;
      value.GetAsString(&text);
      *json = std::move(text);
      return true;
    }
    case base::Value::TYPE_BINARY:
      *error = "a binary value has no JSON form";
      return false;
    case base::Value::TYPE_DICTIONARY: {
      *json = Json::object();
      const auto& dictionary = static_cast<const base::DictionaryValue&>(value);
      for (base::DictionaryValue::Iterator it(dictionary); !it.IsAtEnd(); it.Advance()) {
        if (!ToJson(it.value(), depth + 1, &(*json)[it.key()], error))
          return false;
      }
      return true;
    }
    case base::Value::TYPE_LIST: {
      *json = Json::array();
      for (const std::unique_ptr<base::Value>& element :
           static_cast<const base::ListValue&>(value)) {
        json->push_back(Json());
        if (!ToJson(*element, depth + 1, &json->back(), error))
          return false;
      }
      return true;
    }
  }
  *error = "a value of unknown type " + std::to_string(value.GetType());
  return false;
}

}  // namespace

std::unique_ptr<base::Value> ValueFromJson(const Json& json, std::string* error) {
  return std::unique_ptr<base::Value>(FromJson(json, 0, error));
}

bool ValueToJson(const base::Value& value, Json* json, std::string* error) {
  return ToJson(value, 0, json, error);
}

bool ParseJson(const std::string& text, Json* json, std::string* error) {
  try {
    *json = Json::parse(text);
    return true;
  } catch (const Json::exception& e) {
    // "[json.exception.parse_error.101] parse error at ...": the bracketed id means
    // nothing to a user.
    std::string message = e.what();
    const size_t id_end = message.find("] ");
    *error = id_end == std::string::npos ? message : message.substr(id_end + 2);
    return false;
  }
}

std::string JsonToLine(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace avctl
