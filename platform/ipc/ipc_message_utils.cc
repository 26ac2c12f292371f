#include "ipc/ipc_message_utils.h"

#include <cstring>

#include "base/json/json_writer.h"
#include "base/logging.h"
#include "base/strings/stringprintf.h"
#include "base/values.h"

namespace IPC {

namespace {

// The fewest bytes one entry can take: a dictionary entry is at least an empty key (its
// int length) and a type id; a list element at least a type id.
const size_t kMinDictionaryEntrySize = 2 * sizeof(int);
const size_t kMinListElementSize = sizeof(int);

bool ReadValue(const Message* m,
               PickleIterator* iter,
               int depth,
               std::unique_ptr<base::Value>* value);

// Reads a count of entries that each take at least |min_entry_size| bytes.
bool ReadCount(PickleIterator* iter, size_t min_entry_size, int* count) {
  if (!iter->ReadInt(count) || *count < 0)
    return false;
  return static_cast<size_t>(*count) <= iter->RemainingBytes() / min_entry_size;
}

// The content of a dictionary or a list at |depth|, after its type id.
bool ReadContent(const Message* m, PickleIterator* iter, int depth, base::DictionaryValue* dict) {
  int count;
  if (!ReadCount(iter, kMinDictionaryEntrySize, &count))
    return false;
  for (int i = 0; i < count; ++i) {
    std::string key;
    std::unique_ptr<base::Value> value;
    if (!iter->ReadString(&key) || !ReadValue(m, iter, depth + 1, &value))
      return false;
    dict->SetWithoutPathExpansion(key, value.release());
  }
  return true;
}

bool ReadContent(const Message* m, PickleIterator* iter, int depth, base::ListValue* list) {
  int count;
  if (!ReadCount(iter, kMinListElementSize, &count))
    return false;
  for (int i = 0; i < count; ++i) {
    std::unique_ptr<base::Value> value;
    if (!ReadValue(m, iter, depth + 1, &value))
      return false;
    list->Append(value.release());
  }
  return true;
}

// Reads a |T| with its ParamTraits into a new |ValueType|.
template <class T, class ValueType>
bool ReadSimpleValue(const Message* m, PickleIterator* iter, std::unique_ptr<base::Value>* value) {
  T t;
  if (!ReadParam(m, iter, &t))
    return false;
  value->reset(new ValueType(t));
  return true;
}

// Reads the content of a |Container| at |depth| into a new one.
template <class Container>
bool ReadContainerValue(const Message* m,
                        PickleIterator* iter,
                        int depth,
                        std::unique_ptr<base::Value>* value) {
  std::unique_ptr<Container> container(new Container);
  if (!ReadContent(m, iter, depth, container.get()))
    return false;
  value->reset(container.release());
  return true;
}

bool ReadValue(const Message* m,
               PickleIterator* iter,
               int depth,
               std::unique_ptr<base::Value>* value) {
  if (depth > kMaxValueDepth)
    return false;
  int type;
  if (!iter->ReadInt(&type))
    return false;
  switch (type) {
    case base::Value::TYPE_NULL:
      value->reset(base::Value::CreateNullValue());
      return true;
    case base::Value::TYPE_BOOLEAN:
      return ReadSimpleValue<bool, base::FundamentalValue>(m, iter, value);
    case base::Value::TYPE_INTEGER:
      return ReadSimpleValue<int, base::FundamentalValue>(m, iter, value);
    case base::Value::TYPE_DOUBLE:
      return ReadSimpleValue<double, base::FundamentalValue>(m, iter, value);
    case base::Value::TYPE_STRING:
      return ReadSimpleValue<std::string, base::StringValue>(m, iter, value);
    case base::Value::TYPE_BINARY: {
      const char* data;
      int length;
      if (!iter->ReadData(&data, &length))
        return false;
      value->reset(base::BinaryValue::CreateWithCopiedBuffer(data, static_cast<size_t>(length)));
      return true;
    }
    case base::Value::TYPE_DICTIONARY:
      return ReadContainerValue<base::DictionaryValue>(m, iter, depth, value);
    case base::Value::TYPE_LIST:
      return ReadContainerValue<base::ListValue>(m, iter, depth, value);
    default:
      return false;
  }
}

void WriteValue(Message* m, const base::Value& value);

void WriteDictionaryContent(Message* m, const base::DictionaryValue& dict) {
  m->WriteInt(static_cast<int>(dict.size()));
  for (base::DictionaryValue::Iterator it(dict); !it.IsAtEnd(); it.Advance()) {
    m->WriteString(it.key());
    WriteValue(m, it.value());
  }
}

void WriteListContent(Message* m, const base::ListValue& list) {
  m->WriteInt(static_cast<int>(list.GetSize()));
  for (const auto& element : list)
    WriteValue(m, *element);
}

void WriteValue(Message* m, const base::Value& value) {
  m->WriteInt(value.GetType());
  switch (value.GetType()) {
    case base::Value::TYPE_NULL:
      break;
    case base::Value::TYPE_BOOLEAN: {
      bool b = false;
      value.GetAsBoolean(&b);
      m->WriteBool(b);
      break;
    }
    case base::Value::TYPE_INTEGER: {
      int i = 0;
      value.GetAsInteger(&i);
      m->WriteInt(i);
      break;
    }
    case base::Value::TYPE_DOUBLE: {
      double d = 0;
      value.GetAsDouble(&d);
      ParamTraits<double>::Write(m, d);
      break;
    }
    case base::Value::TYPE_STRING:
      m->WriteString(static_cast<const base::StringValue&>(value).value());
      break;
    case base::Value::TYPE_BINARY: {
      const auto& binary = static_cast<const base::BinaryValue&>(value);
      m->WriteData(binary.GetBuffer(), static_cast<int>(binary.GetSize()));
      break;
    }
    case base::Value::TYPE_DICTIONARY:
      WriteDictionaryContent(m, static_cast<const base::DictionaryValue&>(value));
      break;
    case base::Value::TYPE_LIST:
      WriteListContent(m, static_cast<const base::ListValue&>(value));
      break;
  }
}

void AppendJson(const base::Value& value, std::string* l) {
  std::string json;
  if (base::JSONWriter::Write(&value, &json))
    l->append(json);
}

}  // namespace

void LogPrimitive(bool p, std::string* l) {
  l->append(p ? "true" : "false");
}

void LogPrimitive(int p, std::string* l) {
  l->append(std::to_string(p));
}

void ParamTraits<double>::Write(Message* m, const param_type& p) {
  m->WriteData(reinterpret_cast<const char*>(&p), sizeof(p));
}

bool ParamTraits<double>::Read(const Message* m, PickleIterator* iter, param_type* r) {
  const char* data;
  int length;
  if (!iter->ReadData(&data, &length) || length != static_cast<int>(sizeof(*r)))
    return false;
  std::memcpy(r, data, sizeof(*r));
  return true;
}

void ParamTraits<double>::Log(const param_type& p, std::string* l) {
  l->append(base::StringPrintf("%e", p));
}

void ParamTraits<base::Value>::Write(Message* m, const param_type& p) {
  WriteValue(m, p);
}

bool ParamTraits<base::Value>::Read(const Message* m,
                                    PickleIterator* iter,
                                    std::unique_ptr<param_type>* r) {
  return ReadValue(m, iter, 0, r);
}

void ParamTraits<base::Value>::Log(const param_type& p, std::string* l) {
  AppendJson(p, l);
}

template <class Container>
void ContainerValueParamTraits<Container>::Write(Message* m, const param_type& p) {
  WriteValue(m, p);
}

template <class Container>
bool ContainerValueParamTraits<Container>::Read(const Message* m,
                                                PickleIterator* iter,
                                                param_type* r) {
  int type;
  if (!iter->ReadInt(&type) || type != r->GetType())
    return false;
  r->Clear();
  return ReadContent(m, iter, 0, r);
}

template <class Container>
void ContainerValueParamTraits<Container>::Log(const param_type& p, std::string* l) {
  AppendJson(p, l);
}

template struct ContainerValueParamTraits<base::DictionaryValue>;
template struct ContainerValueParamTraits<base::ListValue>;

void LogDeserializationFailure(uint32_t type) {
  // Reported as a failed assertion from this file, but the process goes on.
  logging::LogMessage("ipc/ipc_message_utils.cc", __LINE__, logging::LOG_FATAL).stream()
      << "Check failed: false. Error deserializing message " << type;
}

}  // namespace IPC
