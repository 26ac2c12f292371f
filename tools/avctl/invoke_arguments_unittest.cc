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

TEST(InvokeArgumentsTest, PairsAndArgsMakeTheDictionary) {
  const struct {
    const char* args_json;
    std::vector<std::string> pairs;
    std::string expected;
  } kCases[] = {
      {nullptr, {}, "{}"},
      {nullptr,
       {"device_id=tv-1", "speaker_volume:=20"},
       R"({"device_id":"tv-1","speaker_volume":20})"},
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
      // The dictionary is level 0: a value may nest 99 levels below its own.
      {nullptr,
       {"d:=" + std::string(100, '[') + std::string(100, ']')},
       "{\"d\":" + std::string(100, '[') + std::string(100, ']') + "}"},
  };
  for (const auto& test : kCases)
    EXPECT_EQ(test.expected, Build(test.args_json, test.pairs))
        << testing::PrintToString(test.pairs);
}

TEST(InvokeArgumentsTest, MalformedWordsAndJsonAreUsageErrors) {
  const struct {
    const char* args_json;
    std::vector<std::string> pairs;
    const char* error_start;
  } kCases[] = {
      {nullptr, {"device_id"}, "\"device_id\" is neither key=value nor key:=JSON"},
      {nullptr, {"=x"}, "\"=x\" has an empty key"},
      {nullptr, {":=1"}, "\":=1\" has an empty key"},
      {nullptr, {"a:="}, "the value of \"a\" is not JSON: "},
      {nullptr, {"ok=1", "a:=on"}, "the value of \"a\" is not JSON: "},
      {"", {}, "--args is not JSON: "},
      {"{\"a\":", {}, "--args is not JSON: "},
      {"[1]", {}, "--args must be a JSON object, not an array"},
      {"\"text\"", {}, "--args must be a JSON object, not a string"},
      {nullptr,
       {"d:=" + std::string(101, '[') + std::string(101, ']')},
       "the arguments cannot be sent: values nest deeper than 100 levels"},
  };
  for (const auto& test : kCases) {
    const std::string result = Build(test.args_json, test.pairs);
    EXPECT_EQ(0u, result.find(std::string("<usage: ") + test.error_start)) << result;
  }
}

}  // namespace
}  // namespace avctl
