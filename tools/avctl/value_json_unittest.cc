#include "tools/avctl/value_json.h"

#include <cmath>
#include <limits>
#include <string>

#include "base/values.h"
#include "gtest/gtest.h"

namespace avctl {
namespace {

// |text| through ValueFromJson and back through ValueToJson, as one line.
std::string RoundTrip(const std::string& text, base::Value::Type* type) {
  Json json;
  std::string error;
  EXPECT_TRUE(ParseJson(text, &json, &error)) << error;
  std::unique_ptr<base::Value> value = ValueFromJson(json, &error);
  if (!value)
    return "<refused: " + error + ">";
  *type = value->GetType();
  Json back;
  if (!ValueToJson(*value, &back, &error))
    return "<not shown: " + error + ">";
  return JsonToLine(back);
}

TEST(ValueJsonTest, EveryKindOfValueRoundTrips) {
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
      {"-0.5", base::Value::TYPE_DOUBLE, "-0.5"},
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
  };
  for (const auto& test : kCases) {
    base::Value::Type type = base::Value::TYPE_BINARY;
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
  Json json;
  EXPECT_FALSE(ValueToJson(results, &json, &error));
  EXPECT_EQ("a binary value has no JSON form", error);
  for (double number : {std::nan(""), std::numeric_limits<double>::infinity()}) {
    std::unique_ptr<base::Value> value(base::Value::CreateDoubleValue(number));
    EXPECT_FALSE(ValueToJson(*value, &json, &error)) << number;
  }
}

TEST(ValueJsonTest, ParseErrorsAreReportedWithoutTheLibrarysPrefix) {
  for (const char* text : {"", "{", "[1,]", "nope", "1e400", "\"\xFF\""}) {
    Json json;
    std::string error;
    EXPECT_FALSE(ParseJson(text, &json, &error)) << text;
    EXPECT_FALSE(error.empty());
    EXPECT_EQ(std::string::npos, error.find("[json.exception")) << error;
  }
}

TEST(ValueJsonTest, TextThatIsNotUtf8IsPrintedWithReplacementCharacters) {
  std::unique_ptr<base::Value> value(
      base::Value::CreateStringValue("a\xFF"
                                     "b"));
  Json json;
  std::string error;
  ASSERT_TRUE(ValueToJson(*value, &json, &error));
  EXPECT_EQ(
      "\"a\xEF\xBF\xBD"
      "b\"",
      JsonToLine(json));
}

}  // namespace
}  // namespace avctl
