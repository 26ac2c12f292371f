#include "ipc/pickle.h"

#include <functional>
#include <sstream>
#include <string>

#include "gtest/gtest.h"
#include "ipc/test/hex_bytes.h"

namespace {

using IPC::test::HexBytes;
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
      {"uint16 then int", [](Pickle* p) { p->WriteUInt16(0xABCD), p->WriteInt(5); },
       "08000000 | cdab0000 05000000"},
      {"two raw bytes", [&](Pickle* p) { p->WriteBytes(&kOne, 1), p->WriteBytes(&kTwo, 1); },
       "05000000 | 01000000 02"},
      {"string then int", [](Pickle* p) { p->WriteString("abcd"), p->WriteInt(-1); },
       "0c000000 | 04000000 61626364 ffffffff"},
      {"negative lengths", [](Pickle* p) { p->WriteData("x", -1), p->WriteBytes("x", -1); },
       "00000000 |"},
  };
  for (const auto& c : kCases) {
    Pickle pickle;
    c.write(&pickle);
    EXPECT_EQ(ToHex(HexBytes(c.expected)), ToHex(pickle.data(), pickle.size())) << c.name;
  }
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
      {"02", kBool, "1"},  // only the first byte of the slot counts
      {"00010000", kBool, "0"},
      {"34", kUInt16, "fail"},
      {"3412", kUInt16, "4660"},
      {"03000000 616263", kString, "abc"},
      {"04000000 616263", kString, "fail"},
      {"ffffffff 616263", kString, "fail"},
      {"ffffff7f 616263", kString, "fail"},
      {"41", &ReadTwoBytes, "fail"},
      {"4142", &ReadTwoBytes, "AB"},
  };
  for (const auto& c : kCases) {
    Pickle pickle = PickleWithPayload(c.payload);
    PickleIterator iter(pickle);
    EXPECT_EQ(c.result, c.read(&iter)) << c.payload;
  }
}

TEST(PickleTest, CopiesOnlyWholeSerialisedPickles) {
  const struct {
    const char* data;
    const char* payload;  // what the copy holds
  } kCases[] = {
      {"0100", ""},                        // shorter than the header
      {"05000000 0102", ""},               // names more payload than there is
      {"01000000 0102", ""},               // the header would be 5 bytes
      {"02000000 aabbccdd 0102", "0102"},  // an 8-byte header
  };
  for (const auto& c : kCases) {
    const std::string data = HexBytes(c.data);
    Pickle pickle(data.data(), static_cast<int>(data.size()));
    EXPECT_EQ(ToHex(HexBytes(c.payload)), ToHex(pickle.payload(), pickle.payload_size())) << c.data;
  }
}

}  // namespace
