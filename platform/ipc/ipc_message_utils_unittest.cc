#include "ipc/ipc_message_utils.h"

#include <memory>
#include <string>
#include <vector>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "ipc/test/hex_bytes.h"

namespace IPC {
namespace {

using test::HexBytes;
using test::PayloadHex;
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
            PayloadHex(msg));

  PickleIterator iter(msg);
  base::DictionaryValue read;
  read.SetString("stale", "gone");
  ASSERT_TRUE(ReadParam(&msg, &iter, &read));
  EXPECT_TRUE(read.Equals(&dict));

  iter = PickleIterator(msg);
  std::unique_ptr<base::Value> value;
  ASSERT_TRUE(ParamTraits<base::Value>::Read(&msg, &iter, &value));
  EXPECT_TRUE(value->Equals(&dict));
}

TEST(ValueTraitsTest, ReadRefusesMalformedTrees) {
  enum Reader { kValue, kDictionary, kList };
  const struct {
    const char* payload;
    Reader reader;
    bool ok;
  } kCases[] = {
      {"06000000 00000000", kValue, true},
      {"06000000 00000000", kDictionary, true},
      {"06000000 00000000", kList, false},
      {"07000000 00000000", kList, true},
      {"07000000 00000000", kDictionary, false},
      {"02000000 05000000", kValue, true},
      {"02000000 05000000", kDictionary, false},  // top level must be a dictionary
      {"08000000", kValue, false},                // no such type
      {"ffffffff", kValue, false},
      {"01000000", kValue, false},                             // boolean without content
      {"03000000 04000000 00000000", kValue, false},           // double of 4 bytes
      {"04000000 05000000 616263", kValue, false},             // string runs past the end
      {"07000000 ffffffff", kValue, false},                    // negative count
      {"07000000 ffffff7f", kValue, false},                    // count beyond the bytes left
      {"07000000 01000000 00000000", kValue, true},            // one null: 4 bytes left
      {"07000000 02000000 00000000", kValue, false},           // two need at least 8
      {"06000000 01000000 00000000 00000000", kValue, true},   // "" -> null: 8 bytes left
      {"06000000 02000000 00000000 00000000", kValue, false},  // two need at least 16
      {"06000000 01000000 01000000 61000000 02000000", kDictionary, false},  // no int
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

// |levels| containers, each holding the next, around a null; built as a dictionary chain
// under the key "k" or as a list chain.
Message NestedContainers(int levels, bool dictionaries) {
  Message msg;
  for (int i = 0; i < levels; ++i) {
    msg.WriteInt(dictionaries ? base::Value::TYPE_DICTIONARY : base::Value::TYPE_LIST);
    msg.WriteInt(1);
    if (dictionaries)
      msg.WriteString("k");
  }
  msg.WriteInt(base::Value::TYPE_NULL);
  return msg;
}

TEST(ValueTraitsTest, NestingDeeperThanTheLimitIsRefused) {
  for (bool dictionaries : {false, true}) {
    // The innermost null sits at level |levels|; the top-level value is level 0.
    for (int levels : {kMaxValueDepth, kMaxValueDepth + 1}) {
      Message msg = NestedContainers(levels, dictionaries);
      PickleIterator iter(msg);
      std::unique_ptr<base::Value> value;
      EXPECT_EQ(levels <= kMaxValueDepth, ParamTraits<base::Value>::Read(&msg, &iter, &value))
          << levels << (dictionaries ? " dictionaries" : " lists");
      if (dictionaries) {
        iter = PickleIterator(msg);
        base::DictionaryValue dict;
        EXPECT_EQ(levels <= kMaxValueDepth, ReadParam(&msg, &iter, &dict)) << levels;
      }
    }
  }
}

TEST(ParamTraitsTest, Logs) {
  base::DictionaryValue dict;
  dict.SetString("device_id", "tv-1");
  dict.SetInteger("speaker_volume", 0);
  std::string l = "prefix ";
  LogParam(dict, &l);
  LogParam(-7, &l);
  LogParam(true, &l);
  LogParam(static_cast<uint16_t>(300), &l);
  LogParam(MakeTuple(std::string("m"), 3, false), &l);
  EXPECT_EQ("prefix {\"device_id\":\"tv-1\",\"speaker_volume\":0}-7true300m, 3, false", l);
}

TEST(ParamDeserializerTest, FillsOutVariablesUntilTheFirstFailure) {
  int number = 0;
  std::string text = "unchanged";
  ParamDeserializer<Tuple2<int&, std::string&>> deserializer(MakeRefTuple(number, text));
  MessageReplyDeserializer* base = &deserializer;

  // Message id, then 7, then a string that claims 5 bytes but has 1.
  Message reply = WithPayload("01000000 07000000 05000000 61");
  EXPECT_FALSE(base->SerializeOutputParameters(reply));
  EXPECT_EQ(7, number);
  EXPECT_EQ("unchanged", text);

  reply = WithPayload("01000000 08000000 01000000 61");
  EXPECT_TRUE(base->SerializeOutputParameters(reply));
  EXPECT_EQ(8, number);
  EXPECT_EQ("a", text);
}

// Sends into a list, as a channel would send onto the wire.
class RecordingSender : public Message::Sender {
 public:
  bool Send(Message* msg) override {
    sent.emplace_back(msg);
    return true;
  }
  std::vector<std::unique_ptr<Message>> sent;
};

class Handler {
 public:
  void OnLookup(const std::string& name, int* count, bool* found) {
    names.push_back(name);
    *count = 5;
    *found = true;
  }
  std::vector<std::string> names;
};

// Writes ints and bools as their raw bytes, as some catalogues put them on the wire.
struct RawBytesWriter {
  static void Write(Message* m, int p) { m->WriteBytes(&p, sizeof(p)); }
  static void Write(Message* m, bool p) { m->WriteBytes(&p, 1); }
};

typedef SyncMessageSchema<Tuple1<std::string>, Tuple2<int, bool>> DefaultSchema;
typedef SyncMessageSchema<Tuple1<std::string>, Tuple2<int, bool>, RawBytesWriter> RawSchema;

template <class Schema>
std::unique_ptr<Message> Dispatch(const Message& request, Handler* handler) {
  typename Schema::SendParam send;
  const bool ok = Schema::ReadSendParam(&request, &send);
  RecordingSender sender;
  EXPECT_EQ(
      ok, Schema::DispatchWithSendParams(ok, send, &request, handler, &sender, &Handler::OnLookup));
  EXPECT_EQ(1u, sender.sent.size());
  return std::move(sender.sent[0]);
}

TEST(SyncMessageSchemaTest, DispatchWritesTheReplyWithTheCataloguesWriter) {
  SyncMessage request(3, 0xD47F0029, Message::PRIORITY_NORMAL, nullptr);
  DefaultSchema::WriteSendParam(&request, MakeTuple(std::string("tv")));
  const std::string id = ToHex(request.payload(), 4);
  Handler handler;

  std::unique_ptr<Message> reply = Dispatch<DefaultSchema>(request, &handler);
  EXPECT_EQ(ToHex(HexBytes(id + "05000000 01000000")), PayloadHex(*reply));
  reply = Dispatch<RawSchema>(request, &handler);
  EXPECT_EQ(ToHex(HexBytes(id + "05000000 01")), PayloadHex(*reply));
  EXPECT_EQ(0x0Au, reply->flags());  // REPLY | PRIORITY_NORMAL
  EXPECT_EQ(3, reply->routing_id());
  EXPECT_EQ(std::vector<std::string>({"tv", "tv"}), handler.names);

  Tuple2<int, bool> out;
  ASSERT_TRUE(RawSchema::ReadReplyParam(reply.get(), &out));
  EXPECT_EQ(5, out.a);
  EXPECT_TRUE(out.b);
}

TEST(SyncMessageSchemaTest, UndecodableRequestGetsAnErrorReplyAndTheProcessGoesOn) {
  SyncMessage request(3, 0xD47F0024, Message::PRIORITY_NORMAL, nullptr);
  request.WriteInt(-1);  // not a string length
  Handler handler;
  logging::ScopedLogCapture capture;

  std::unique_ptr<Message> reply = Dispatch<RawSchema>(request, &handler);
  EXPECT_TRUE(handler.names.empty());
  EXPECT_EQ(0x1Au, reply->flags());  // REPLY | REPLY_ERROR | PRIORITY_NORMAL
  EXPECT_EQ(ToHex(request.payload(), 4), PayloadHex(*reply));  // the message id alone
  ASSERT_EQ(1u, capture.lines().size());
  const auto line = capture.lines()[0];
  EXPECT_EQ(logging::LOG_FATAL, line.severity);
  EXPECT_EQ("ipc/ipc_message_utils.cc", line.file);
  EXPECT_EQ("Check failed: false. Error deserializing message 3565092900", line.message);
}

}  // namespace
}  // namespace IPC
