#include "ipc/ipc_message_utils.h"

#include <memory>
#include <string>

#include "base/values.h"
#include "gtest/gtest.h"
#include "ipc/test/hex_bytes.h"

namespace IPC {
namespace {

using test::HexBytes;
using test::ToHex;

// A plain message whose payload is |payload_hex|.
Message WithPayload(const std::string& payload_hex) {
  Message msg(1, 2, Message::PRIORITY_NORMAL);
  const std::string payload = HexBytes(payload_hex);
  msg.WriteBytes(payload.data(), static_cast<int>(payload.size()));
  return msg;
}

TEST(ValueTraitsTest, WritesTheTreeWithTypeIdsAndKeysInOrder) {
  base::DictionaryValue dict;
  dict.SetInteger("i", -2);
  dict.SetDouble("d", 1.5);
  dict.SetBoolean("b", true);
  base::ListValue* list = new base::ListValue;
  list->Append(base::Value::CreateNullValue());
  list->Append(base::Value::CreateStringValue("x"));
  dict.Set("l", list);
  dict.Set("z", base::BinaryValue::CreateWithCopiedBuffer("\xab", 1));

  Message msg;
  WriteParam(&msg, dict);
  EXPECT_EQ(ToHex(HexBytes("06000000 05000000"                    // dictionary of 5
                           "01000000 62000000 01000000 01000000"  // "b": boolean true
                           "01000000 64000000 03000000 08000000 00000000 0000f83f"  // "d": 1.5
                           "01000000 69000000 02000000 feffffff"        // "i": integer -2
                           "01000000 6c000000 07000000 02000000"        // "l": list of 2
                           "00000000 04000000 01000000 78000000"        // null, "x"
                           "01000000 7a000000 05000000 01000000 ab")),  // "z": binary
            ToHex(msg.payload(), msg.payload_size()));

  PickleIterator iter(msg);
  base::DictionaryValue read;
  read.SetString("stale", "gone");
  ASSERT_TRUE(ReadParam(&msg, &iter, &read));
  EXPECT_TRUE(read.Equals(&dict));
}

TEST(ValueTraitsTest, ReadRefusesMalformedTrees) {
  enum Reader { kValue, kDictionary, kList };
  const struct {
    const char* payload;
    Reader reader;
    bool ok;
  } kCases[] = {
      {"06000000 00000000", kDictionary, true},
      {"06000000 00000000", kList, false},
      {"07000000 00000000", kList, true},
      {"02000000 05000000", kDictionary, false},               // top level must be a dictionary
      {"08000000", kValue, false},                             // no such type
      {"03000000 04000000 00000000", kValue, false},           // double of 4 bytes
      {"04000000 05000000 616263", kValue, false},             // string runs past the end
      {"07000000 ffffffff", kValue, false},                    // negative count
      {"07000000 ffffff7f", kValue, false},                    // count beyond the bytes left
      {"07000000 01000000 00000000", kValue, true},            // one null: 4 bytes left
      {"07000000 02000000 00000000", kValue, false},           // two need at least 8
      {"06000000 01000000 00000000 00000000", kValue, true},   // "" -> null: 8 bytes left
      {"06000000 02000000 00000000 00000000", kValue, false},  // two need at least 16
  };
  for (const auto& c : kCases) {
    Message msg = WithPayload(c.payload);
    PickleIterator iter(msg);
    bool ok = false;
    if (c.reader == kValue) {
      std::unique_ptr<base::Value> value;
      ok = ParamTraits<base::Value>::Read(&msg, &iter, &value);
      EXPECT_EQ(ok, value != nullptr) << c.payload;
    } else if (c.reader == kDictionary) {
      base::DictionaryValue dict;
      ok = ReadParam(&msg, &iter, &dict);
    } else {
      base::ListValue list;
      ok = ReadParam(&msg, &iter, &list);
    }
    EXPECT_EQ(c.ok, ok) << c.payload << " reader " << c.reader;
  }
}

// The innermost null of |levels| nested containers sits at level |levels|; the top-level
// value is level 0.
TEST(ValueTraitsTest, NestingDeeperThanTheLimitIsRefused) {
  for (bool dictionaries : {false, true}) {
    for (int levels : {kMaxValueDepth, kMaxValueDepth + 1}) {
      Message msg;
      for (int i = 0; i < levels; ++i) {
        msg.WriteInt(dictionaries ? base::Value::TYPE_DICTIONARY : base::Value::TYPE_LIST);
        msg.WriteInt(1);
        if (dictionaries)
          msg.WriteString("k");
      }
      msg.WriteInt(base::Value::TYPE_NULL);
      PickleIterator iter(msg);
      std::unique_ptr<base::Value> value;
      EXPECT_EQ(levels <= kMaxValueDepth, ParamTraits<base::Value>::Read(&msg, &iter, &value))
          << levels << (dictionaries ? " dictionaries" : " lists");
    }
  }
}

}  // namespace
}  // namespace IPC
