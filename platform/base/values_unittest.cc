#include "base/values.h"

#include <iterator>
#include <memory>

#include "gtest/gtest.h"

namespace base {
namespace {

TEST(ValuesTest, TypedGettersSucceedOnlyForTheExactTypeAndIndex) {
  DictionaryValue dict;
  dict.SetBoolean("b", true);
  dict.SetInteger("i", 7);
  dict.SetDouble("d", 7.0);
  dict.SetString("s", "7");
  dict.Set("n", Value::CreateNullValue());

  // Per key, the getters that succeed: Boolean, Integer, Double, String.
  const std::pair<const char*, const char*> rows[] = {{"b", "B"}, {"i", "I"}, {"d", "D"},
                                                      {"s", "S"}, {"n", ""},  {"missing", ""}};
  for (const auto& row : rows) {
    bool b = false;
    int i = -1;
    double d = -1;
    std::string s = "untouched";
    std::string succeeded;
    succeeded += dict.GetBoolean(row.first, &b) ? "B" : "";
    succeeded += dict.GetInteger(row.first, &i) ? "I" : "";
    succeeded += dict.GetDouble(row.first, &d) ? "D" : "";
    succeeded += dict.GetString(row.first, &s) ? "S" : "";
    EXPECT_EQ(row.second, succeeded) << row.first;
    EXPECT_EQ(succeeded == "I" ? 7 : -1, i);  // a failed getter leaves its output be
    EXPECT_EQ(succeeded == "S" ? "7" : "untouched", s);
  }
  ListValue list;
  list.Append(Value::CreateStringValue("s"));
  std::string s;
  EXPECT_TRUE(list.GetString(0, &s));
  EXPECT_FALSE(list.GetString(1, &s));
}

TEST(ValuesTest, PathExpansionBuildsAndWalksNestedDictionaries) {
  DictionaryValue dict;
  dict.SetWithoutPathExpansion("x.y", Value::CreateIntegerValue(1));
  EXPECT_TRUE(dict.HasKey("x.y"));
  EXPECT_FALSE(dict.GetInteger("x.y", nullptr));  // one key with a dot, not a path
  // Setting replaces, and setting through a non-dictionary replaces it with a dictionary.
  dict.SetInteger("a", 3);
  dict.SetInteger("a.b.c", 4);
  int c = 0;
  EXPECT_TRUE(dict.GetInteger("a.b.c", &c));
  EXPECT_EQ(4, c);
  EXPECT_EQ(2u, dict.size());
}

TEST(ValuesTest, EqualityTellsTypesAndContentApartAndCopiesAreDeep) {
  DictionaryValue x;
  x.SetInteger("x", 1);
  x.SetDouble("nested.d", 1.5);
  auto* list = new ListValue;
  list->Append(Value::CreateBooleanValue(false));
  list->Append(BinaryValue::CreateWithCopiedBuffer("\0\1\2", 3));
  x.Set("list", list);
  DictionaryValue y;
  y.SetInteger("y", 1);
  const std::unique_ptr<Value> values[] = {
      std::unique_ptr<Value>(Value::CreateIntegerValue(1)),
      std::unique_ptr<Value>(Value::CreateDoubleValue(1.0)),
      std::unique_ptr<Value>(Value::CreateStringValue("1")),
      std::unique_ptr<Value>(Value::CreateNullValue()),
      std::unique_ptr<Value>(new ListValue),
      std::unique_ptr<Value>(x.DeepCopy()),
      std::unique_ptr<Value>(y.DeepCopy()),
  };
  // Each equals a copy of itself and nothing else in the list.
  for (size_t i = 0; i < std::size(values); ++i) {
    std::unique_ptr<Value> copy(values[i]->DeepCopy());
    for (size_t j = 0; j < std::size(values); ++j)
      EXPECT_EQ(i == j, Value::Equals(copy.get(), values[j].get())) << i << " vs " << j;
  }
  // A deep copy is independent of its original.
  std::unique_ptr<DictionaryValue> copy(x.DeepCopy());
  list->Append(Value::CreateNullValue());
  EXPECT_FALSE(copy->Equals(&x));
  EXPECT_FALSE(Value::Equals(values[3].get(), nullptr));
}

}  // namespace
}  // namespace base
