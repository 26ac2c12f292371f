#include "base/json/json_writer.h"

#include <limits>
#include <memory>

#include "base/values.h"
#include "gtest/gtest.h"

namespace base {
namespace {

// The JSON text, or "refused" when the writer refuses |value| (and leaves an empty text).
std::string ToJson(const Value* value) {
  std::string json = "stale";
  const bool written = JSONWriter::Write(value, &json);
  EXPECT_EQ(written, !json.empty());
  return written ? json : "refused";
}

ListValue* InList(Value* value) {
  auto* list = new ListValue;
  list->Append(value);
  return list;
}

TEST(JSONWriterTest, ScalarsDoublesAndWhatJsonCannotExpress) {
  struct Row {
    Value* value;
    const char* json;
  };
  const Row rows[] = {
      {Value::CreateNullValue(), "null"},
      {Value::CreateBooleanValue(true), "true"},
      {Value::CreateIntegerValue(-42), "-42"},
      {Value::CreateDoubleValue(1.0), "1.0"},
      {Value::CreateDoubleValue(0.1), "0.1"},
      {Value::CreateDoubleValue(1e300), "1e+300"},
      {Value::CreateDoubleValue(123456789.0), "123456789.0"},
      {Value::CreateStringValue(""), "\"\""},
      {InList(BinaryValue::CreateWithCopiedBuffer("ab", 2)), "refused"},
      {InList(Value::CreateDoubleValue(std::numeric_limits<double>::quiet_NaN())), "refused"},
  };
  for (const Row& row : rows) {
    std::unique_ptr<Value> owned(row.value);
    EXPECT_EQ(row.json, ToJson(owned.get()));
  }
}

TEST(JSONWriterTest, CompactWithKeysInByteOrder) {
  DictionaryValue root;
  root.SetInteger("a", 1);
  root.SetInteger("B", 0);
  root.SetWithoutPathExpansion("\xC3\xA9", Value::CreateIntegerValue(3));  // after ASCII
  auto* list = new ListValue;
  list->Append(new DictionaryValue);
  list->Append(new ListValue);
  root.Set("list", list);
  EXPECT_EQ("{\"B\":0,\"a\":1,\"list\":[{},[]],\"\\u00E9\":3}", ToJson(&root));
}

TEST(JSONWriterTest, StringEscapes) {
  const std::pair<std::string, std::string> rows[] = {
      {"\b\f\n\r\t", "\"\\b\\f\\n\\r\\t\""},
      {std::string("\x01\x1F\0", 3), "\"\\u0001\\u001F\\u0000\""},
      {"<a>", "\"\\u003Ca\\u003E\""},
      {"/\x7F", "\"/\x7F\""},
      {"\xE2\x82\xAC", "\"\\u20AC\""},                           // U+20AC, three bytes
      {"\xF0\x9F\x98\x80", "\"\\uD83D\\uDE00\""},                // U+1F600, a surrogate pair
      {"\x80x", "\"\\uFFFDx\""},                                 // stray continuation byte
      {"\xC3", "\"\\uFFFD\""},                                   // truncated at the end
      {"\xC0\xAF", "\"\\uFFFD\\uFFFD\""},                        // overlong '/'
      {"\xED\xA0\x80", "\"\\uFFFD\\uFFFD\\uFFFD\""},             // an encoded surrogate
      {"\xF4\x90\x80\x80", "\"\\uFFFD\\uFFFD\\uFFFD\\uFFFD\""},  // above U+10FFFF
  };
  for (const auto& row : rows) {
    std::string out;
    JSONWriter::AppendQuotedString(row.first, &out);
    EXPECT_EQ(row.second, out);
  }
}

}  // namespace
}  // namespace base
