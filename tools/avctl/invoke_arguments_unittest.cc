#include "tools/avctl/invoke_arguments.h"

#include <string>
#include <vector>

#include "base/values.h"
#include "gtest/gtest.h"

namespace avctl {
namespace {

// The dictionary built from |args_json| (null: no --args) and |pairs| as one JSON line,
// or "<usage: ERROR>".
std::string Build(const char* args_json, const std::vector<std::string>& pairs) {
  const std::string args_text = args_json ? args_json : "";
  std::string error;
  std::unique_ptr<base::DictionaryValue> arguments =
      BuildInvokeArguments(args_json ? &args_text : nullptr, pairs, &error);
  if (!arguments)
    return "<usage: " + error + ">";
  Json json;
  EXPECT_TRUE(ValueToJson(*arguments, &json, &error));
  return JsonToLine(json);
}

TEST(InvokeArgumentsTest, PairsAndArgsMakeTheDictionaryOrAUsageError) {
  const struct {
    const char* args_json;
    std::vector<std::string> pairs;
    std::string expected;  // the whole line, or the start of a usage error
  } kCases[] = {
      {nullptr, {}, "{}"},
      // A string unless typed: "20" stays text, 20.0 is a double.
      {nullptr, {"a=20", "b:=20.0", "c:=\"20\"", "d="}, R"({"a":"20","b":20.0,"c":"20","d":""})"},
      {nullptr,
       {"b:=true", "n:=null", "l:=[1,\"x\"]", "o:={\"k\":{}}"},
       R"({"b":true,"l":[1,"x"],"n":null,"o":{"k":{}}})"},
      // The first '=' splits; only a ':' right before it types the value.
      {nullptr,
       {"a=b=c", "x=y:=z", "url:x=1", "a.b=dot"},
       R"({"a":"b=c","a.b":"dot","url:x":"1","x":"y:=z"})"},
      {nullptr, {"a=1", "a:=1"}, R"({"a":1})"},
      {R"({"device_id":"x","power_state":"on"})",
       {"power_state=off"},
       R"({"device_id":"x","power_state":"off"})"},
      {R"({"n":1})", {"m:=2"}, R"({"m":2,"n":1})"},
      {R"({})", {}, "{}"},
      // The dictionary is level 0: a value may nest 99 levels below its own, not 100.
      {nullptr,
       {"d:=" + std::string(100, '[') + std::string(100, ']')},
       "{\"d\":" + std::string(100, '[') + std::string(100, ']') + "}"},
      {nullptr,
       {"d:=" + std::string(101, '[') + std::string(101, ']')},
       "<usage: the arguments cannot be sent: values nest deeper than 100 levels"},
      {nullptr, {"device_id"}, "<usage: \"device_id\" is neither key=value nor key:=JSON"},
      {nullptr, {"=x"}, "<usage: \"=x\" has an empty key"},
      {nullptr, {":=1"}, "<usage: \":=1\" has an empty key"},
      {nullptr, {"a:="}, "<usage: the value of \"a\" is not JSON: "},
      {"", {}, "<usage: --args is not JSON: "},
      {"[1]", {}, "<usage: --args must be a JSON object, not an array"},
  };
  for (const auto& test : kCases) {
    // A JSON line ends with its object, so its start is all of it.
    const std::string result = Build(test.args_json, test.pairs);
    EXPECT_EQ(test.expected, result.substr(0, test.expected.size()))
        << testing::PrintToString(test.pairs);
  }
}

}  // namespace
}  // namespace avctl
