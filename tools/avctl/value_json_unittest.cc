#include "tools/avctl/value_json.h"

#include <cmath>
#include <limits>
#include <string>

#include "base/values.h"
#include "gtest/gtest.h"

namespace avctl {
namespace {

// |value| through ValueToJson as one line, or "<not shown: ERROR>".
std::string Shown(const base::Value& value) {
  Json json;
  std::string error;
  return ValueToJson(value, &json, &error) ? JsonToLine(json) : "<not shown: " + error + ">";
}

// |text| through ParseJson and ValueFromJson, and back through Shown; "<not JSON>" when
// the text is refused with an error of its own (not the library's prefixed one).
std::string RoundTrip(const std::string& text, base::Value::Type* type) {
  Json json;
  std::string error;
  if (!ParseJson(text, &json, &error)) {
    const bool own = !error.empty() && error.find("[json.exception") == std::string::npos;
    return own ? "<not JSON>" : "<library error: " + error + ">";
  }
  std::unique_ptr<base::Value> value = ValueFromJson(json, &error);
  if (!value)
    return "<refused: " + error + ">";
  *type = value->GetType();
  return Shown(*value);
}

TEST(ValueJsonTest, EveryKindOfValueRoundTrips) {
  const base::Value::Type kNone = base::Value::TYPE_BINARY;  // no value was made
  const struct {
    const char* text;
    base::Value::Type type;
    const char* line;
  } kCases[] = {
      {"null", base::Value::TYPE_NULL, "null"},
      {"false", base::Value::TYPE_BOOLEAN, "false"},
      {"1", base::Value::TYPE_INTEGER, "1"},
      {"1.0", base::Value::TYPE_DOUBLE, "1.0"},
      {"1E2", base::Value::TYPE_DOUBLE, "100.0"},
      {"2147483647", base::Value::TYPE_INTEGER, "2147483647"},
      {"-2147483648", base::Value::TYPE_INTEGER, "-2147483648"},
      {"2147483648", base::Value::TYPE_DOUBLE, "2147483648.0"},
      {"-2147483649", base::Value::TYPE_DOUBLE, "-2147483649.0"},
      {"18446744073709551615", base::Value::TYPE_DOUBLE, "1.8446744073709552e+19"},
      {R"("caf\u00e9 \ud83d\ude00")", base::Value::TYPE_STRING, "\"caf\xC3\xA9 \xF0\x9F\x98\x80\""},
      {R"("tab\t \"q\" \\ \u0001")", base::Value::TYPE_STRING, R"("tab\t \"q\" \\ \u0001")"},
      {"[]", base::Value::TYPE_LIST, "[]"},
      {"{}", base::Value::TYPE_DICTIONARY, "{}"},
      // Dictionaries keep their keys in byte order; a '.' in a key is not a path.
      {R"({"b":[1,2.5,null,{"x":true}],"a.b":{"":""}})", base::Value::TYPE_DICTIONARY,
       R"({"a.b":{"":""},"b":[1,2.5,null,{"x":true}]})"},
      {"", kNone, "<not JSON>"},
      {"{", kNone, "<not JSON>"},
      {"1e400", kNone, "<not JSON>"},
      {"\"\xFF\"", kNone, "<not JSON>"},
  };
  for (const auto& test : kCases) {
    base::Value::Type type = kNone;
    EXPECT_EQ(test.line, RoundTrip(test.text, &type)) << test.text;
    EXPECT_EQ(test.type, type) << test.text;
  }
}

TEST(ValueJsonTest, WhatHasNoFormOnTheOtherSideIsRefused) {
  std::string error;
  EXPECT_FALSE(ValueFromJson(Json::binary({1, 2}), &error));
  EXPECT_EQ("a JSON binary has no value form", error);

  base::DictionaryValue results;
  results.SetInteger("a", 1);
  results.Set("b", base::BinaryValue::CreateWithCopiedBuffer("\x01", 1));
  EXPECT_EQ("<not shown: a binary value has no JSON form>", Shown(results));
  for (double number : {std::nan(""), std::numeric_limits<double>::infinity()}) {
    EXPECT_EQ(0u, Shown(*std::unique_ptr<base::Value>(base::Value::CreateDoubleValue(number)))
                      .find("<not shown: "))
        << number;
  }
  // Text that is not UTF-8 is printed with replacement characters.
  std::unique_ptr<base::Value> text(base::Value::CreateStringValue("a\xFF!"));
  EXPECT_EQ("\"a\xEF\xBF\xBD!\"", Shown(*text));
}

}  // namespace
}  // namespace avctl
