#include "tvapp/message.h"

#include "gtest/gtest.h"
#include "tvapp/test/echo_application.h"

namespace ORVELL0300 {
namespace {

// One entry of each type, under the key that names the type.
CMessage MessageWithEveryType() {
  CMessage message;
  message.SetName(Utf8("every type"));
  message.MakeResult(Utf8("OCString"), Utf8("words"));
  message.MakeResult(Utf8("text"), "chars");
  message.MakeResult(Utf8("long"), -7L);
  message.MakeResult(Utf8("float"), 1.5f);
  message.MakeResult(Utf8("bool"), true);
  return message;
}

// Which query overloads succeed for a key of MessageWithEveryType().
struct QueryRow {
  const char* key;
  bool as_ocstring;
  bool as_long;
  bool as_float;
  bool as_bool;
};

const QueryRow kQueryRows[] = {
    {"OCString", true, false, false, false}, {"text", false, false, false, false},
    {"long", false, true, false, false},     {"float", false, false, true, false},
    {"bool", false, false, false, true},     {"missing", false, false, false, false},
    {"Long", false, false, false, false},
};

TEST(CMessageTest, QuerySucceedsOnlyForTheKeyWithExactlyThatType) {
  const CMessage message = MessageWithEveryType();
  for (const QueryRow& row : kQueryRows) {
    SCOPED_TRACE(row.key);
    OCString string = Utf8("untouched");
    long number = 99;
    float real = 9.5f;
    bool flag = false;
    EXPECT_EQ(row.as_ocstring, message.Query(Utf8(row.key), string) != 0);
    EXPECT_EQ(row.as_long, message.Query(Utf8(row.key), number) != 0);
    EXPECT_EQ(row.as_float, message.Query(Utf8(row.key), real) != 0);
    EXPECT_EQ(row.as_bool, message.Query(Utf8(row.key), flag) != 0);
    EXPECT_EQ(row.as_ocstring ? "words" : "untouched", string.text());
    EXPECT_EQ(row.as_long ? -7 : 99, number);
    EXPECT_EQ(row.as_float ? 1.5f : 9.5f, real);
    EXPECT_EQ(row.as_bool, flag);
  }
}

TEST(CMessageTest, EntriesKeepTheirOrderAndTheFirstOfAKeyAnswers) {
  CMessage message;
  message.MakeResult(Utf8("k"), 1L);
  message.MakeResult(Utf8("k"), true);
  message.MakeResult(Utf8("nothing"), static_cast<const char*>(nullptr));
  ASSERT_EQ(3, message.NumOfQuery());
  EXPECT_EQ(CMessage::kValueLong, static_cast<int>(message.entries()[0].value.index()));
  EXPECT_EQ(CMessage::kValueBool, static_cast<int>(message.entries()[1].value.index()));
  EXPECT_EQ("", std::get<CMessage::kValueText>(message.entries()[2].value));
  bool flag = false;
  long number = 0;
  EXPECT_EQ(0, message.Query(Utf8("k"), flag));
  EXPECT_NE(0, message.Query(Utf8("k"), number));
  EXPECT_EQ(1, number);
}

}  // namespace
}  // namespace ORVELL0300
