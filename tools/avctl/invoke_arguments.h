// The argument dictionary of "avctl invoke", built from the command line:
//
//   --args '{"device_id":"tv-1"}'   the whole dictionary, a JSON object
//   key=value                       the entry "key" as the string "value"
//   key:=JSON                       the entry "key" as the typed value JSON
//
// Pairs are applied in order after --args, each adding an entry or replacing the one of the
// same key. A word splits at its first '='; a ':' just before it makes the value JSON.

#ifndef TOOLS_AVCTL_INVOKE_ARGUMENTS_H_
#define TOOLS_AVCTL_INVOKE_ARGUMENTS_H_

#include <memory>
#include <string>
#include <vector>

#include "tools/avctl/value_json.h"

namespace base {
class DictionaryValue;
}

namespace avctl {

// Reads one key=value or key:=JSON word into |*key| and |*value|; false with |*error| set
// when it is neither or its key is empty or its JSON does not parse.
bool ParseArgumentPair(const std::string& word, std::string* key, Json* value, std::string* error);

// The dictionary made of |args_json| (the text of --args; null when it was not given) and
// |pairs|. Null with |*error| set when any of them is malformed.
std::unique_ptr<base::DictionaryValue> BuildInvokeArguments(const std::string* args_json,
                                                            const std::vector<std::string>& pairs,
                                                            std::string* error);

}  // namespace avctl

#endif  // TOOLS_AVCTL_INVOKE_ARGUMENTS_H_
