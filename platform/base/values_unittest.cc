#include "base/values.h"

#include <iterator>
#include <memory>

#include "gtest/gtest.h"

namespace base {
namespace {

TEST(ValuesTest, TypedGettersSucceedOnlyForTheExactType) {
  DictionaryValue dict;
  dict.SetBoolean("b", true);
  dict.SetInteger("i", 7);
  dict.SetDouble("d", 7.0);
  dict.SetString("s", "7");
  dict.Set("n", Value::CreateNullValue());

  struct Row {
    const char* key;
    bool as_bool, as_int, as_double, as_string;
  };
  const Row rows[] = {
      {"b", true, false, false, false},  {"i", false, true, false, false},
      {"d", false, false, true, false},  {"s", false, false, false, true},
      {"n", false, false, false, false}, {"missing", false, false, false, false},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.key);
    bool b = false;
    int i = -1;
    double d = -1;
    std::string s = "untouched";
    EXPECT_EQ(row.as_bool, dict.GetBoolean(row.key, &b));
    EXPECT_EQ(row.as_int, dict.GetInteger(row.key, &i));
    EXPECT_EQ(row.as_double, dict.GetDouble(row.key, &d));
    EXPECT_EQ(row.as_string, dict.GetString(row.key, &s));
    if (!row.as_int) {
      EXPECT_EQ(-1, i);
    }
    if (!row.as_string) {
      EXPECT_EQ("untouched", s);
    }
  }
}

TEST(ValuesTest, PathExpansionBuildsAndWalksNestedDictionaries) {
  DictionaryValue dict;
  dict.SetString("a.b.c", "deep");
  dict.SetWithoutPathExpansion("x.y", Value::CreateIntegerValue(1));

  std::string text;
  EXPECT_TRUE(dict.GetString("a.b.c", &text));
  EXPECT_EQ("deep", text);
  const DictionaryValue* b = nullptr;
  ASSERT_TRUE(dict.GetDictionary("a.b", &b));
  EXPECT_EQ(1u, b->size());

  // A key with a dot, stored as one key, is not reachable through a path.
  EXPECT_TRUE(dict.HasKey("x.y"));
  EXPECT_FALSE(dict.GetInteger("x.y", nullptr));
  const Value* value = nullptr;
  EXPECT_TRUE(dict.GetWithoutPathExpansion("x.y", &value));

  // Setting through a non-dictionary replaces it with a dictionary.
  dict.SetInteger("a", 3);
  dict.SetInteger("a.z", 4);
  int z = 0;
  EXPECT_TRUE(dict.GetInteger("a.z", &z));
  EXPECT_EQ(4, z);
  EXPECT_FALSE(dict.GetString("a.b.c", &text));
}

TEST(ValuesTest, SetReplacesAndContainersOwnWhatTheyHold) {
  DictionaryValue dict;
  dict.SetInteger("k", 1);
  dict.SetString("k", "two");
  EXPECT_EQ(1u, dict.size());
  std::string text;
  EXPECT_TRUE(dict.GetString("k", &text));
  EXPECT_EQ("two", text);

  // The list and the dictionary free everything they hold (checked by the sanitizers).
  auto* list = new ListValue;
  list->Append(Value::CreateStringValue("one"));
  list->Append(new DictionaryValue);
  dict.Set("list", list);
  dict.Set("list", Value::CreateNullValue());
  EXPECT_TRUE(dict.RemoveWithoutPathExpansion("list"));
  EXPECT_FALSE(dict.RemoveWithoutPathExpansion("list"));
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
      std::unique_ptr<Value>(new DictionaryValue),
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
  EXPECT_TRUE(Value::Equals(nullptr, nullptr));
  EXPECT_FALSE(Value::Equals(values[3].get(), nullptr));
}

TEST(ValuesTest, ListGettersAreBoundsAndTypeChecked) {
  ListValue list;
  list.Append(Value::CreateIntegerValue(5));
  list.Append(Value::CreateStringValue("s"));
  int i = 0;
  std::string s;
  EXPECT_TRUE(list.GetInteger(0, &i));
  EXPECT_EQ(5, i);
  EXPECT_FALSE(list.GetInteger(1, &i));
  EXPECT_TRUE(list.GetString(1, &s));
  EXPECT_FALSE(list.GetString(2, &s));
  EXPECT_EQ(2u, list.GetSize());
}

}  // namespace
}  // namespace base
