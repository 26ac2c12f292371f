// Feeds arbitrary bytes to the pickle reader and the value-tree decoder. A tree that
// decodes must encode to bytes that decode to a tree with the same encoding.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "base/logging.h"
#include "base/values.h"
#include "fuzz/fuzz_util.h"
#include "ipc/ipc_message.h"
#include "ipc/ipc_message_utils.h"
#include "ipc/pickle.h"

namespace {

std::string Encode(const base::Value& value) {
  IPC::Message msg;
  IPC::WriteParam(&msg, value);
  return fuzz::PayloadOf(msg);
}

void CheckValueRoundTrip(const base::Value& value) {
  const std::string first = Encode(value);
  IPC::Message msg =
      fuzz::MessageWithPayload(1, reinterpret_cast<const uint8_t*>(first.data()), first.size());
  PickleIterator iter(msg);
  std::unique_ptr<base::Value> again;
  CHECK(IPC::ParamTraits<base::Value>::Read(&msg, &iter, &again));
  CHECK(Encode(*again) == first);
  std::string rendering;
  IPC::LogParam(*again, &rendering);
}

// Reads primitives from |pickle| in an order chosen by its own bytes.
void WalkPrimitives(const Pickle& pickle) {
  PickleIterator iter(pickle);
  PickleIterator chooser(pickle);
  for (int step = 0; step < 64; ++step) {
    uint16_t choice;
    if (!chooser.ReadUInt16(&choice))
      return;
    int i;
    bool b;
    uint16_t u;
    std::string s;
    const char* data;
    int length;
    switch (choice % 7) {
      case 0:
        iter.ReadInt(&i);
        break;
      case 1:
        iter.ReadBool(&b);
        break;
      case 2:
        iter.ReadUInt16(&u);
        break;
      case 3:
        iter.ReadString(&s);
        break;
      case 4:
        iter.ReadData(&data, &length);
        break;
      case 5:
        iter.ReadBytes(&data, choice >> 3);
        break;
      case 6:
        iter.SkipBytes(static_cast<int>(choice >> 3) - 4);
        break;
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const char* bytes = reinterpret_cast<const char*>(data);
  const int length = static_cast<int>(size);

  // The bytes as whole serialised pickles and messages.
  Pickle whole(bytes, length);
  WalkPrimitives(whole);
  IPC::Message message(bytes, length);
  CHECK(message.size() == IPC::Message::kHeaderSize + message.payload_size());
  (void)message.flags();
  (void)message.priority();

  // The bytes as an encoded value tree.
  IPC::Message msg = fuzz::MessageWithPayload(1, data, size);
  WalkPrimitives(msg);
  {
    PickleIterator iter(msg);
    std::unique_ptr<base::Value> value;
    if (IPC::ParamTraits<base::Value>::Read(&msg, &iter, &value))
      CheckValueRoundTrip(*value);
  }
  {
    PickleIterator iter(msg);
    base::DictionaryValue dict;
    if (IPC::ReadParam(&msg, &iter, &dict))
      CheckValueRoundTrip(dict);
  }
  {
    PickleIterator iter(msg);
    base::ListValue list;
    if (IPC::ReadParam(&msg, &iter, &list))
      CheckValueRoundTrip(list);
  }
  return 0;
}
