#include "base/values.h"

#include <memory>

#include "gtest/gtest.h"

namespace base {
namespace {

TEST(ValuesTest, TypeIdsFollowTheWireNumbering) {
  EXPECT_EQ(0, Value::TYPE_NULL);
  EXPECT_EQ(1, Value::TYPE_BOOLEAN);
  EXPECT_EQ(2, Value::TYPE_INTEGER);
  EXPECT_EQ(3, Value::TYPE_DOUBLE);
  EXPECT_EQ(4, Value::TYPE_STRING);
  EXPECT_EQ(5, Value::TYPE_BINARY);
  EXPECT_EQ(6, Value::TYPE_DICTIONARY);
  EXPECT_EQ(7, Value::TYPE_LIST);
}

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

TEST(ValuesTest, DeepCopyIsEqualAndIndependent) {
  DictionaryValue original;
  original.SetString("s", "text");
  original.SetDouble("nested.d", 1.5);
  auto* list = new ListValue;
  list->Append(Value::CreateBooleanValue(false));
  list->Append(BinaryValue::CreateWithCopiedBuffer("\0\1\2", 3));
  original.Set("list", list);

  std::unique_ptr<DictionaryValue> copy(original.DeepCopy());
  EXPECT_TRUE(copy->Equals(&original));
  EXPECT_TRUE(Value::Equals(copy.get(), &original));

  copy->SetString("s", "changed");
  EXPECT_FALSE(copy->Equals(&original));
  std::string text;
  EXPECT_TRUE(original.GetString("s", &text));
  EXPECT_EQ("text", text);
}

TEST(ValuesTest, EqualityDistinguishesTypeAndContent) {
  std::unique_ptr<Value> one(Value::CreateIntegerValue(1));
  std::unique_ptr<Value> one_double(Value::CreateDoubleValue(1.0));
  std::unique_ptr<Value> one_string(Value::CreateStringValue("1"));
  std::unique_ptr<Value> another_one(Value::CreateIntegerValue(1));
  std::unique_ptr<Value> null(Value::CreateNullValue());
  std::unique_ptr<Value> empty_list(new ListValue);
  std::unique_ptr<Value> empty_dict(new DictionaryValue);

  EXPECT_TRUE(one->Equals(another_one.get()));
  EXPECT_FALSE(one->Equals(one_double.get()));
  EXPECT_FALSE(one->Equals(one_string.get()));
  EXPECT_FALSE(null->Equals(one.get()));
  EXPECT_FALSE(empty_list->Equals(empty_dict.get()));
  EXPECT_TRUE(Value::Equals(nullptr, nullptr));
  EXPECT_FALSE(Value::Equals(null.get(), nullptr));

  DictionaryValue a;
  DictionaryValue b;
  a.SetInteger("x", 1);
  b.SetInteger("y", 1);
  EXPECT_FALSE(a.Equals(&b));
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
