#include "ipc/pickle.h"

#include <functional>
#include <sstream>
#include <string>

#include "gtest/gtest.h"
#include "ipc/test/hex_bytes.h"

namespace {

using IPC::test::HexBytes;
using IPC::test::PayloadHex;
using IPC::test::ToHex;

// A pickle with a 4-byte header around |payload_hex|.
Pickle PickleWithPayload(const std::string& payload_hex) {
  const std::string payload = HexBytes(payload_hex);
  std::string whole(4, '\0');
  whole[0] = static_cast<char>(payload.size());
  whole += payload;
  return Pickle(whole.data(), static_cast<int>(whole.size()));
}

TEST(PickleTest, WritesAlignEachElementAndDoNotPadTheEnd) {
  const char kOne = 1, kTwo = 2;
  const struct {
    const char* name;
    std::function<void(Pickle*)> write;
    const char* expected;  // header (payload size) | payload
  } kCases[] = {
      {"int", [](Pickle* p) { p->WriteInt(0x01020304); }, "04000000 | 04030201"},
      {"bools are ints", [](Pickle* p) { p->WriteBool(true), p->WriteBool(false); },
       "08000000 | 01000000 00000000"},
      {"uint16 then int", [](Pickle* p) { p->WriteUInt16(0xABCD), p->WriteInt(5); },
       "08000000 | cdab0000 05000000"},
      {"one raw byte", [&](Pickle* p) { p->WriteBytes(&kOne, 1); }, "01000000 | 01"},
      {"two raw bytes", [&](Pickle* p) { p->WriteBytes(&kOne, 1), p->WriteBytes(&kTwo, 1); },
       "05000000 | 01000000 02"},
      {"string", [](Pickle* p) { p->WriteString("abc"); }, "07000000 | 03000000 616263"},
      {"string then int", [](Pickle* p) { p->WriteString("abcd"), p->WriteInt(-1); },
       "0c000000 | 04000000 61626364 ffffffff"},
      {"empty data", [](Pickle* p) { p->WriteData("", 0); }, "04000000 | 00000000"},
      {"empty string then byte", [&](Pickle* p) { p->WriteString(""), p->WriteBytes(&kOne, 1); },
       "05000000 | 00000000 01"},
  };
  for (const auto& c : kCases) {
    Pickle pickle;
    c.write(&pickle);
    EXPECT_EQ(ToHex(HexBytes(c.expected)), ToHex(pickle)) << c.name;
    EXPECT_EQ(pickle.size() - 4, pickle.payload_size()) << c.name;
  }
}

TEST(PickleTest, NegativeLengthsWriteNothing) {
  Pickle pickle;
  EXPECT_FALSE(pickle.WriteData("x", -1));
  EXPECT_FALSE(pickle.WriteBytes("x", -1));
  EXPECT_EQ(0u, pickle.payload_size());
}

// One read of a T from |iter|: the value read, or "fail".
template <class T, bool (PickleIterator::*kRead)(T*)>
std::string ReadOne(PickleIterator* iter) {
  T value{};
  if (!(iter->*kRead)(&value))
    return "fail";
  std::ostringstream text;
  text << value;
  return text.str();
}

std::string ReadTwoBytes(PickleIterator* iter) {
  const char* data = nullptr;
  return iter->ReadBytes(&data, 2) ? std::string(data, 2) : "fail";
}

TEST(PickleTest, ReadsAreBoundsChecked) {
  const auto kInt = &ReadOne<int, &PickleIterator::ReadInt>;
  const auto kBool = &ReadOne<bool, &PickleIterator::ReadBool>;
  const auto kUInt16 = &ReadOne<uint16_t, &PickleIterator::ReadUInt16>;
  const auto kString = &ReadOne<std::string, &PickleIterator::ReadString>;
  const struct {
    const char* payload;
    std::string (*read)(PickleIterator*);
    const char* result;
  } kCases[] = {
      {"", kInt, "fail"},
      {"010203", kInt, "fail"},
      {"feffffff", kInt, "-2"},
      {"", kBool, "fail"},
      {"00", kBool, "0"},
      {"02", kBool, "1"},  // only the first byte of the slot counts
      {"00010000", kBool, "0"},
      {"34", kUInt16, "fail"},
      {"3412", kUInt16, "4660"},
      {"03000000 616263", kString, "abc"},
      {"04000000 616263", kString, "fail"},
      {"ffffffff 616263", kString, "fail"},
      {"ffffff7f 616263", kString, "fail"},
      {"000000", kString, "fail"},
      {"41", &ReadTwoBytes, "fail"},
      {"4142", &ReadTwoBytes, "AB"},
  };
  for (const auto& c : kCases) {
    Pickle pickle = PickleWithPayload(c.payload);
    PickleIterator iter(pickle);
    EXPECT_EQ(c.result, c.read(&iter)) << c.payload;
  }
}

TEST(PickleTest, ReadsMoveToTheNextBoundaryAndStopAtTheEnd) {
  // An int, a string of 1 byte and a final 1-byte element.
  Pickle pickle = PickleWithPayload("07000000 01000000 41000000 01");
  PickleIterator iter(pickle);
  int i;
  std::string s;
  bool b = false;
  ASSERT_TRUE(iter.ReadInt(&i));
  ASSERT_TRUE(iter.ReadString(&s));
  EXPECT_EQ("A", s);
  ASSERT_TRUE(iter.ReadBool(&b));
  EXPECT_TRUE(b);
  EXPECT_EQ(0u, iter.RemainingBytes());
  EXPECT_FALSE(iter.ReadBool(&b));
  EXPECT_FALSE(iter.SkipBytes(1));
}

TEST(PickleTest, FailedStringReadLeavesTheIteratorInPlace) {
  Pickle pickle = PickleWithPayload("05000000 61");
  PickleIterator iter(pickle);
  std::string s = "kept";
  EXPECT_FALSE(iter.ReadString(&s));
  EXPECT_EQ("kept", s);
  int length = 0;
  EXPECT_TRUE(iter.ReadInt(&length));
  EXPECT_EQ(5, length);
}

TEST(PickleTest, CopiesOnlyWholeSerialisedPickles) {
  const struct {
    const char* data;
    const char* payload;  // what the copy holds
  } kCases[] = {
      {"", ""},
      {"0100", ""},                        // shorter than the header
      {"05000000 0102", ""},               // names more payload than there is
      {"01000000 0102", ""},               // the header would be 5 bytes
      {"02000000 0102", "0102"},           // a 4-byte header
      {"02000000 aabbccdd 0102", "0102"},  // an 8-byte header
  };
  for (const auto& c : kCases) {
    const std::string data = HexBytes(c.data);
    Pickle pickle(data.data(), static_cast<int>(data.size()));
    EXPECT_EQ(ToHex(HexBytes(c.payload)), PayloadHex(pickle)) << c.data;
  }
}

TEST(PickleDeathTest, HeaderOfTheWrongSizeStopsTheProcess) {
  struct TwentyBytes {
    char bytes[20];
  };
  Pickle pickle;
  EXPECT_DEATH(pickle.headerT<TwentyBytes>(),
               "Check failed: header_size_ == sizeof\\(T\\) \\(4 vs. 20\\)");
}

}  // namespace
