#include "ipc/pickle.h"

#include <functional>
#include <string>

#include "gtest/gtest.h"
#include "ipc/test/hex_bytes.h"

namespace {

using IPC::test::HexBytes;
using IPC::test::ToHex;

std::string Bytes(const Pickle& pickle) {
  return ToHex(pickle.data(), pickle.size());
}

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
    EXPECT_EQ(ToHex(HexBytes(c.expected)), Bytes(pickle)) << c.name;
    EXPECT_EQ(pickle.size() - 4, pickle.payload_size()) << c.name;
  }
}

TEST(PickleTest, NegativeLengthsWriteNothing) {
  Pickle pickle;
  EXPECT_FALSE(pickle.WriteData("x", -1));
  EXPECT_FALSE(pickle.WriteBytes("x", -1));
  EXPECT_EQ(0u, pickle.payload_size());
}

TEST(PickleTest, ReadsAreBoundsChecked) {
  enum Op { kInt, kBool, kUInt16, kString, kBytes2 };
  const struct {
    const char* payload;
    Op op;
    bool ok;
    long long value;  // the int, bool or uint16 read, or the string's length
  } kCases[] = {
      {"", kInt, false, 0},
      {"010203", kInt, false, 0},
      {"feffffff", kInt, true, -2},
      {"", kBool, false, 0},
      {"00", kBool, true, 0},
      {"02", kBool, true, 1},  // only the first byte of the slot counts
      {"00010000", kBool, true, 0},
      {"34", kUInt16, false, 0},
      {"3412", kUInt16, true, 0x1234},
      {"03000000 616263", kString, true, 3},
      {"04000000 616263", kString, false, 0},
      {"ffffffff 616263", kString, false, 0},
      {"ffffff7f 616263", kString, false, 0},
      {"000000", kString, false, 0},
      {"01", kBytes2, false, 0},
      {"0102", kBytes2, true, 2},
  };
  for (const auto& c : kCases) {
    Pickle pickle = PickleWithPayload(c.payload);
    PickleIterator iter(pickle);
    bool ok = false;
    long long value = 0;
    switch (c.op) {
      case kInt: {
        int v = 0;
        ok = iter.ReadInt(&v);
        value = v;
        break;
      }
      case kBool: {
        bool v = false;
        ok = iter.ReadBool(&v);
        value = v;
        break;
      }
      case kUInt16: {
        uint16_t v = 0;
        ok = iter.ReadUInt16(&v);
        value = v;
        break;
      }
      case kString: {
        std::string v;
        ok = iter.ReadString(&v);
        value = static_cast<long long>(v.size());
        break;
      }
      case kBytes2: {
        const char* v = nullptr;
        ok = iter.ReadBytes(&v, 2);
        value = ok ? 2 : 0;
        break;
      }
    }
    EXPECT_EQ(c.ok, ok) << c.payload << " op " << c.op;
    EXPECT_EQ(c.value, value) << c.payload << " op " << c.op;
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
    EXPECT_EQ(ToHex(HexBytes(c.payload)), ToHex(pickle.payload(), pickle.payload_size())) << c.data;
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
