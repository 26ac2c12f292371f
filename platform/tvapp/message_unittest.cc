#include "tvapp/message.h"

#include "gtest/gtest.h"
#include "tvapp/test/echo_application.h"

namespace ORVELL0300 {
namespace {

TEST(CMessageTest, QueryAnswersOnlyFromTheFirstEntryOfAKeyWithExactlyThatType) {
  // One entry of each type under the key that names the type; a second "long" that is a
  // bool, which no query reaches; and a text made from a null pointer.
  CMessage message;
  message.MakeResult(Utf8("OCString"), Utf8("words"));
  message.MakeResult(Utf8("long"), -7L);
  message.MakeResult(Utf8("float"), 1.5f);
  message.MakeResult(Utf8("bool"), true);
  message.MakeResult(Utf8("long"), true);
  message.MakeResult(Utf8("text"), static_cast<const char*>(nullptr));
  ASSERT_EQ(6, message.NumOfQuery());
  EXPECT_EQ("", std::get<CMessage::kValueText>(message.entries()[5].value));
  // Per key, which of the OCString, long, float and bool queries succeed.
  const struct {
    const char* key;
    const char* answers;
  } rows[] = {{"OCString", "O..."}, {"long", ".L.."}, {"float", "..F."},
              {"bool", "...B"},     {"text", "...."}, {"Long", "...."}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.key);
    OCString string = Utf8("untouched");
    long number = 99;
    float real = 9.5f;
    bool flag = false;
    const std::string answers = {message.Query(Utf8(row.key), string) ? 'O' : '.',
                                 message.Query(Utf8(row.key), number) ? 'L' : '.',
                                 message.Query(Utf8(row.key), real) ? 'F' : '.',
                                 message.Query(Utf8(row.key), flag) ? 'B' : '.'};
    EXPECT_EQ(row.answers, answers);
    EXPECT_EQ(answers[0] == 'O' ? "words" : "untouched", string.text());
    EXPECT_EQ(answers[1] == 'L' ? -7 : 99, number);
  }
}

}  // namespace
}  // namespace ORVELL0300
