// Feeds arbitrary bytes to the pickle reader and the value-tree decoder. A tree that
// decodes must encode to bytes that decode to a tree with the same encoding.

#include <functional>

#include "fuzz/fuzz_util.h"
#include "ipc/pickle.h"

namespace {

void CheckValueRoundTrip(const base::Value& value) {
  const std::string first = fuzz::ValuePayload(value);
  const IPC::Message msg = fuzz::MessageWithPayload(1, first.data(), first.size());
  PickleIterator iter(msg);
  std::unique_ptr<base::Value> again;
  CHECK(IPC::ParamTraits<base::Value>::Read(&msg, &iter, &again));
  CHECK(fuzz::ValuePayload(*again) == first);
  std::string rendering;
  IPC::LogParam(*again, &rendering);
}

// Reads primitives from |pickle| in an order chosen by its own bytes.
void WalkPrimitives(const Pickle& pickle) {
  PickleIterator iter(pickle);
  PickleIterator chooser(pickle);
  uint16_t choice = 0, u = 0;
  int i = 0;
  bool b = false;
  std::string s;
  const char* data = nullptr;
  const std::function<bool()> kReads[] = {
      [&] { return iter.ReadInt(&i); },
      [&] { return iter.ReadBool(&b); },
      [&] { return iter.ReadUInt16(&u); },
      [&] { return iter.ReadString(&s); },
      [&] { return iter.ReadData(&data, &i); },
      [&] { return iter.ReadBytes(&data, choice >> 3); },
      [&] { return iter.SkipBytes(static_cast<int>(choice >> 3) - 4); },
  };
  for (int step = 0; step < 64 && chooser.ReadUInt16(&choice); ++step)
    kReads[choice % 7]();
}

// Decodes |msg| as a |T| and checks the round trip of what it decoded.
template <class T>
void CheckDecoded(const IPC::Message& msg) {
  PickleIterator iter(msg);
  T value;
  if (IPC::ReadParam(&msg, &iter, &value))
    CheckValueRoundTrip(value);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // The bytes as whole serialised pickles and messages.
  const Pickle whole(reinterpret_cast<const char*>(data), static_cast<int>(size));
  WalkPrimitives(whole);
  const IPC::Message message(reinterpret_cast<const char*>(data), static_cast<int>(size));
  CHECK(message.size() == IPC::Message::kHeaderSize + message.payload_size());

  // The bytes as an encoded value tree.
  const IPC::Message msg = fuzz::MessageWithPayload(1, data, size);
  WalkPrimitives(msg);
  PickleIterator iter(msg);
  std::unique_ptr<base::Value> value;
  if (IPC::ParamTraits<base::Value>::Read(&msg, &iter, &value))
    CheckValueRoundTrip(*value);
  CheckDecoded<base::DictionaryValue>(msg);
  CheckDecoded<base::ListValue>(msg);
  return 0;
}
