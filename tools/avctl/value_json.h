// Conversion between JSON documents and the platform's value tree (base::Value), both
// ways, for the arguments avctl sends and the results it prints.
//
// JSON to value: null, booleans, strings, objects and arrays map to their counterparts. A
// number written without a fraction or exponent that fits in a 32-bit signed int becomes an
// integer value; every other number (1.0, 1e3, 2147483648) becomes a double. Object keys
// are taken whole: "a.b" is one key, not a path.
//
// Value to JSON: integers stay integers and doubles stay doubles, so 1 and 1.0 print
// differently. Binary values and doubles that are not finite have no JSON form and are
// refused.

#ifndef TOOLS_AVCTL_VALUE_JSON_H_
#define TOOLS_AVCTL_VALUE_JSON_H_

#include <memory>
#include <string>

#include "nlohmann/json.hpp"

namespace base {
class DictionaryValue;
class Value;
}  // namespace base

namespace avctl {

// Objects keep their members in the order they were written or inserted.
typedef nlohmann::ordered_json Json;

// The value for |json|; null with |*error| set when some part of it has no value form.
std::unique_ptr<base::Value> ValueFromJson(const Json& json, std::string* error);

// The JSON form of |value| in |*json|; false with |*error| set when some part of it has
// none.
bool ValueToJson(const base::Value& value, Json* json, std::string* error);

// Parses |text| as one JSON document; false with |*error| set when it is not one.
bool ParseJson(const std::string& text, Json* json, std::string* error);

// |json| as one compact line without the newline. Text that is not valid UTF-8 is written
// with U+FFFD in place of each bad byte.
std::string JsonToLine(const Json& json);

}  // namespace avctl

#endif  // TOOLS_AVCTL_VALUE_JSON_H_
