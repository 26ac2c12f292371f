#include "base/json/json_writer.h"

#include <limits>
#include <memory>

#include "base/values.h"
#include "gtest/gtest.h"

namespace base {
namespace {

std::string ToJson(const Value* value) {
  std::string json = "stale";
  EXPECT_TRUE(JSONWriter::Write(value, &json));
  return json;
}

std::string Quote(const std::string& text) {
  std::string out;
  JSONWriter::AppendQuotedString(text, &out);
  return out;
}

TEST(JSONWriterTest, ScalarsAndDoubles) {
  struct Row {
    Value* value;
    const char* json;
  };
  const Row rows[] = {
      {Value::CreateNullValue(), "null"},
      {Value::CreateBooleanValue(true), "true"},
      {Value::CreateIntegerValue(-42), "-42"},
      {Value::CreateDoubleValue(1.0), "1.0"},
      {Value::CreateDoubleValue(-0.5), "-0.5"},
      {Value::CreateDoubleValue(0.1), "0.1"},
      {Value::CreateDoubleValue(1e300), "1e+300"},
      {Value::CreateDoubleValue(123456789.0), "123456789.0"},
      {Value::CreateStringValue(""), "\"\""},
  };
  for (const Row& row : rows) {
    std::unique_ptr<Value> owned(row.value);
    EXPECT_EQ(row.json, ToJson(owned.get()));
  }
}

TEST(JSONWriterTest, CompactWithKeysInByteOrder) {
  DictionaryValue root;
  root.SetInteger("b", 2);
  root.SetInteger("a", 1);
  root.SetInteger("B", 0);
  root.SetWithoutPathExpansion("\xC3\xA9", Value::CreateIntegerValue(3));  // after ASCII
  auto* list = new ListValue;
  list->Append(Value::CreateStringValue("x"));
  list->Append(new DictionaryValue);
  list->Append(new ListValue);
  root.Set("list", list);
  root.SetString("nested.key", "v");
  EXPECT_EQ(
      "{\"B\":0,\"a\":1,\"b\":2,\"list\":[\"x\",{},[]],\"nested\":{\"key\":\"v\"},"
      "\"\\u00E9\":3}",
      ToJson(&root));
}

TEST(JSONWriterTest, StringEscapes) {
  struct Row {
    std::string in;
    std::string out;
  };
  const Row rows[] = {
      {"plain", "\"plain\""},
      {"q\"b\\", "\"q\\\"b\\\\\""},
      {"\b\f\n\r\t", "\"\\b\\f\\n\\r\\t\""},
      {std::string("\x01\x1F\0", 3), "\"\\u0001\\u001F\\u0000\""},
      {"<a>", "\"\\u003Ca\\u003E\""},
      {"/\x7F", "\"/\x7F\""},
      {"\xC3\xA9", "\"\\u00E9\""},                               // U+00E9, two bytes
      {"\xE2\x82\xAC", "\"\\u20AC\""},                           // U+20AC, three bytes
      {"\xF0\x9F\x98\x80", "\"\\uD83D\\uDE00\""},                // U+1F600, a surrogate pair
      {"\xFF", "\"\\uFFFD\""},                                   // not a lead byte
      {"\x80x", "\"\\uFFFDx\""},                                 // stray continuation byte
      {"\xC3", "\"\\uFFFD\""},                                   // truncated at the end
      {"\xC0\xAF", "\"\\uFFFD\\uFFFD\""},                        // overlong '/'
      {"\xED\xA0\x80", "\"\\uFFFD\\uFFFD\\uFFFD\""},             // an encoded surrogate
      {"\xF4\x90\x80\x80", "\"\\uFFFD\\uFFFD\\uFFFD\\uFFFD\""},  // above U+10FFFF
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.out);
    EXPECT_EQ(row.out, Quote(row.in));
  }
}

TEST(JSONWriterTest, RefusesWhatJsonCannotExpress) {
  DictionaryValue with_binary;
  with_binary.Set("bin", BinaryValue::CreateWithCopiedBuffer("ab", 2));
  DictionaryValue with_nan;
  with_nan.SetDouble("d", std::numeric_limits<double>::quiet_NaN());
  for (const Value* value :
       {static_cast<const Value*>(&with_binary), static_cast<const Value*>(&with_nan)}) {
    std::string json = "stale";
    EXPECT_FALSE(JSONWriter::Write(value, &json));
    EXPECT_EQ("", json);
  }
}

}  // namespace
}  // namespace base
