#include "base/values.h"

#include <utility>

namespace base {

namespace {

// Splits "a.b.c" into the first key "a" and the rest "b.c"; false when |path| has no '.'.
bool SplitPath(const std::string& path, std::string* head, std::string* rest) {
  const size_t dot = path.find('.');
  if (dot == std::string::npos)
    return false;
  *head = path.substr(0, dot);
  *rest = path.substr(dot + 1);
  return true;
}

}  // namespace

// Value ----------------------------------------------------------------------------------

Value::Value(Type type) : type_(type) {}

Value::~Value() = default;

Value* Value::CreateNullValue() {
  return new Value(TYPE_NULL);
}

FundamentalValue* Value::CreateBooleanValue(bool in_value) {
  return new FundamentalValue(in_value);
}

FundamentalValue* Value::CreateIntegerValue(int in_value) {
  return new FundamentalValue(in_value);
}

FundamentalValue* Value::CreateDoubleValue(double in_value) {
  return new FundamentalValue(in_value);
}

StringValue* Value::CreateStringValue(const std::string& in_value) {
  return new StringValue(in_value);
}

bool Value::GetAsBoolean(bool*) const {
  return false;
}

bool Value::GetAsInteger(int*) const {
  return false;
}

bool Value::GetAsDouble(double*) const {
  return false;
}

bool Value::GetAsString(std::string*) const {
  return false;
}

Value* Value::DeepCopy() const {
  // Only the null value is a plain Value; every other type overrides this.
  return CreateNullValue();
}

bool Value::Equals(const Value* other) const {
  return other->IsType(TYPE_NULL) && IsType(TYPE_NULL);
}

// static
bool Value::Equals(const Value* a, const Value* b) {
  if (a == nullptr || b == nullptr)
    return a == b;
  return a->Equals(b);
}

// FundamentalValue -----------------------------------------------------------------------

FundamentalValue::FundamentalValue(bool in_value) : Value(TYPE_BOOLEAN), boolean_value_(in_value) {}

FundamentalValue::FundamentalValue(int in_value) : Value(TYPE_INTEGER), integer_value_(in_value) {}

FundamentalValue::FundamentalValue(double in_value) : Value(TYPE_DOUBLE), double_value_(in_value) {}

FundamentalValue::~FundamentalValue() = default;

bool FundamentalValue::GetAsBoolean(bool* out_value) const {
  if (!IsType(TYPE_BOOLEAN))
    return false;
  if (out_value)
    *out_value = boolean_value_;
  return true;
}

bool FundamentalValue::GetAsInteger(int* out_value) const {
  if (!IsType(TYPE_INTEGER))
    return false;
  if (out_value)
    *out_value = integer_value_;
  return true;
}

bool FundamentalValue::GetAsDouble(double* out_value) const {
  if (!IsType(TYPE_DOUBLE))
    return false;
  if (out_value)
    *out_value = double_value_;
  return true;
}

FundamentalValue* FundamentalValue::DeepCopy() const {
  switch (GetType()) {
    case TYPE_BOOLEAN:
      return new FundamentalValue(boolean_value_);
    case TYPE_INTEGER:
      return new FundamentalValue(integer_value_);
    default:
      return new FundamentalValue(double_value_);
  }
}

bool FundamentalValue::Equals(const Value* other) const {
  if (other->GetType() != GetType())
    return false;
  const auto* that = static_cast<const FundamentalValue*>(other);
  switch (GetType()) {
    case TYPE_BOOLEAN:
      return boolean_value_ == that->boolean_value_;
    case TYPE_INTEGER:
      return integer_value_ == that->integer_value_;
    default:
      return double_value_ == that->double_value_;
  }
}

// StringValue ----------------------------------------------------------------------------

StringValue::StringValue(const std::string& in_value) : Value(TYPE_STRING), value_(in_value) {}

StringValue::~StringValue() = default;

bool StringValue::GetAsString(std::string* out_value) const {
  if (out_value)
    *out_value = value_;
  return true;
}

StringValue* StringValue::DeepCopy() const {
  return new StringValue(value_);
}

bool StringValue::Equals(const Value* other) const {
  return other->IsType(TYPE_STRING) && static_cast<const StringValue*>(other)->value_ == value_;
}

// BinaryValue ----------------------------------------------------------------------------

BinaryValue::BinaryValue(std::vector<char> data) : Value(TYPE_BINARY), data_(std::move(data)) {}

BinaryValue::~BinaryValue() = default;

// static
BinaryValue* BinaryValue::CreateWithCopiedBuffer(const char* buffer, size_t size) {
  return new BinaryValue(std::vector<char>(buffer, buffer + size));
}

BinaryValue* BinaryValue::DeepCopy() const {
  return new BinaryValue(data_);
}

bool BinaryValue::Equals(const Value* other) const {
  return other->IsType(TYPE_BINARY) && static_cast<const BinaryValue*>(other)->data_ == data_;
}

// DictionaryValue ------------------------------------------------------------------------

DictionaryValue::DictionaryValue() : Value(TYPE_DICTIONARY) {}

DictionaryValue::~DictionaryValue() = default;

bool DictionaryValue::HasKey(const std::string& key) const {
  return dictionary_.count(key) != 0;
}

void DictionaryValue::Clear() {
  dictionary_.clear();
}

void DictionaryValue::Set(const std::string& path, Value* in_value) {
  std::string head;
  std::string rest;
  if (!SplitPath(path, &head, &rest)) {
    SetWithoutPathExpansion(path, in_value);
    return;
  }
  auto it = dictionary_.find(head);
  if (it == dictionary_.end() || !it->second->IsType(TYPE_DICTIONARY)) {
    auto* child = new DictionaryValue;
    SetWithoutPathExpansion(head, child);
    child->Set(rest, in_value);
    return;
  }
  static_cast<DictionaryValue*>(it->second.get())->Set(rest, in_value);
}

void DictionaryValue::SetBoolean(const std::string& path, bool in_value) {
  Set(path, CreateBooleanValue(in_value));
}

void DictionaryValue::SetInteger(const std::string& path, int in_value) {
  Set(path, CreateIntegerValue(in_value));
}

void DictionaryValue::SetDouble(const std::string& path, double in_value) {
  Set(path, CreateDoubleValue(in_value));
}

void DictionaryValue::SetString(const std::string& path, const std::string& in_value) {
  Set(path, CreateStringValue(in_value));
}

void DictionaryValue::SetWithoutPathExpansion(const std::string& key, Value* in_value) {
  dictionary_[key].reset(in_value);
}

bool DictionaryValue::Get(const std::string& path, const Value** out_value) const {
  std::string head;
  std::string rest;
  if (!SplitPath(path, &head, &rest))
    return GetWithoutPathExpansion(path, out_value);
  const DictionaryValue* child = nullptr;
  const Value* child_value = nullptr;
  if (!GetWithoutPathExpansion(head, &child_value) || !child_value->IsType(TYPE_DICTIONARY))
    return false;
  child = static_cast<const DictionaryValue*>(child_value);
  return child->Get(rest, out_value);
}

bool DictionaryValue::Get(const std::string& path, Value** out_value) {
  const Value* value = nullptr;
  if (!static_cast<const DictionaryValue*>(this)->Get(path, &value))
    return false;
  if (out_value)
    *out_value = const_cast<Value*>(value);
  return true;
}

bool DictionaryValue::GetBoolean(const std::string& path, bool* out_value) const {
  const Value* value = nullptr;
  return Get(path, &value) && value->GetAsBoolean(out_value);
}

bool DictionaryValue::GetInteger(const std::string& path, int* out_value) const {
  const Value* value = nullptr;
  return Get(path, &value) && value->GetAsInteger(out_value);
}

bool DictionaryValue::GetDouble(const std::string& path, double* out_value) const {
  const Value* value = nullptr;
  return Get(path, &value) && value->GetAsDouble(out_value);
}

bool DictionaryValue::GetString(const std::string& path, std::string* out_value) const {
  const Value* value = nullptr;
  return Get(path, &value) && value->GetAsString(out_value);
}

bool DictionaryValue::GetDictionary(const std::string& path,
                                    const DictionaryValue** out_value) const {
  const Value* value = nullptr;
  if (!Get(path, &value) || !value->IsType(TYPE_DICTIONARY))
    return false;
  if (out_value)
    *out_value = static_cast<const DictionaryValue*>(value);
  return true;
}

bool DictionaryValue::GetList(const std::string& path, const ListValue** out_value) const {
  const Value* value = nullptr;
  if (!Get(path, &value) || !value->IsType(TYPE_LIST))
    return false;
  if (out_value)
    *out_value = static_cast<const ListValue*>(value);
  return true;
}

bool DictionaryValue::GetWithoutPathExpansion(const std::string& key,
                                              const Value** out_value) const {
  auto it = dictionary_.find(key);
  if (it == dictionary_.end())
    return false;
  if (out_value)
    *out_value = it->second.get();
  return true;
}

bool DictionaryValue::RemoveWithoutPathExpansion(const std::string& key) {
  return dictionary_.erase(key) != 0;
}

DictionaryValue* DictionaryValue::DeepCopy() const {
  auto* result = new DictionaryValue;
  for (const auto& entry : dictionary_)
    result->dictionary_[entry.first].reset(entry.second->DeepCopy());
  return result;
}

bool DictionaryValue::Equals(const Value* other) const {
  if (!other->IsType(TYPE_DICTIONARY))
    return false;
  const auto& theirs = static_cast<const DictionaryValue*>(other)->dictionary_;
  if (theirs.size() != dictionary_.size())
    return false;
  auto mine = dictionary_.begin();
  for (auto it = theirs.begin(); it != theirs.end(); ++it, ++mine) {
    if (it->first != mine->first || !mine->second->Equals(it->second.get()))
      return false;
  }
  return true;
}

DictionaryValue::Iterator::Iterator(const DictionaryValue& target)
    : target_(target), it_(target.dictionary_.begin()) {}

// ListValue ------------------------------------------------------------------------------

ListValue::ListValue() : Value(TYPE_LIST) {}

ListValue::~ListValue() = default;

void ListValue::Clear() {
  list_.clear();
}

void ListValue::Append(Value* in_value) {
  list_.emplace_back(in_value);
}

bool ListValue::Get(size_t index, const Value** out_value) const {
  if (index >= list_.size())
    return false;
  if (out_value)
    *out_value = list_[index].get();
  return true;
}

bool ListValue::GetInteger(size_t index, int* out_value) const {
  const Value* value = nullptr;
  return Get(index, &value) && value->GetAsInteger(out_value);
}

bool ListValue::GetString(size_t index, std::string* out_value) const {
  const Value* value = nullptr;
  return Get(index, &value) && value->GetAsString(out_value);
}

bool ListValue::GetDictionary(size_t index, const DictionaryValue** out_value) const {
  const Value* value = nullptr;
  if (!Get(index, &value) || !value->IsType(TYPE_DICTIONARY))
    return false;
  if (out_value)
    *out_value = static_cast<const DictionaryValue*>(value);
  return true;
}

ListValue* ListValue::DeepCopy() const {
  auto* result = new ListValue;
  for (const auto& value : list_)
    result->Append(value->DeepCopy());
  return result;
}

bool ListValue::Equals(const Value* other) const {
  if (!other->IsType(TYPE_LIST))
    return false;
  const auto& theirs = static_cast<const ListValue*>(other)->list_;
  if (theirs.size() != list_.size())
    return false;
  for (size_t i = 0; i < list_.size(); ++i) {
    if (!list_[i]->Equals(theirs[i].get()))
      return false;
  }
  return true;
}

}  // namespace base
