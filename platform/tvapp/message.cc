#include "tvapp/message.h"

#include <sstream>
#include <type_traits>

namespace ORVELL0300 {

bool CMessage::Entry::operator==(const Entry& other) const {
  return key == other.key && value == other.value;
}

CMessage::CMessage() = default;

CMessage::~CMessage() = default;

CMessage::CMessage(const CMessage& other) = default;

CMessage& CMessage::operator=(const CMessage& other) = default;

void CMessage::SetName(const OCString& name) {
  name_ = name;
}

void CMessage::MakeResult(const OCString& key, const OCString& value) {
  AddEntry(key, Value(std::in_place_index<kValueOCString>, value));
}

void CMessage::MakeResult(const OCString& key, const char* value) {
  AddEntry(key, Value(std::in_place_index<kValueText>, value ? value : ""));
}

void CMessage::MakeResult(const OCString& key, long value) {
  AddEntry(key, Value(std::in_place_index<kValueLong>, value));
}

void CMessage::MakeResult(const OCString& key, float value) {
  AddEntry(key, Value(std::in_place_index<kValueFloat>, value));
}

void CMessage::MakeResult(const OCString& key, bool value) {
  AddEntry(key, Value(std::in_place_index<kValueBool>, value));
}

void CMessage::AddEntry(const OCString& key, const Value& value) {
  entries_.push_back(Entry{key, value});
}

template <typename T>
int CMessage::QueryAs(const OCString& key, T& value) const {
  for (const Entry& entry : entries_) {
    if (entry.key != key)
      continue;
    const T* found = std::get_if<T>(&entry.value);
    if (!found)
      return 0;
    value = *found;
    return 1;
  }
  return 0;
}

int CMessage::Query(const OCString& key, OCString& value) const {
  return QueryAs(key, value);
}

int CMessage::Query(const OCString& key, long& value) const {
  return QueryAs(key, value);
}

int CMessage::Query(const OCString& key, float& value) const {
  return QueryAs(key, value);
}

int CMessage::Query(const OCString& key, bool& value) const {
  return QueryAs(key, value);
}

int CMessage::NumOfQuery() const {
  return static_cast<int>(entries_.size());
}

bool CMessage::operator==(const CMessage& other) const {
  return name_ == other.name_ && entries_ == other.entries_;
}

std::string CMessage::ToString() const {
  std::ostringstream text;
  text << name_.text() << "(";
  for (size_t i = 0; i < entries_.size(); ++i) {
    text << (i ? ", " : "") << entries_[i].key.text() << "=";
    std::visit(
        [&text](const auto& value) {
          using T = std::decay_t<decltype(value)>;
          if constexpr (std::is_same_v<T, OCString>)
            text << '"' << value.text() << '"';
          else if constexpr (std::is_same_v<T, std::string>)
            text << '"' << value << '"';
          else if constexpr (std::is_same_v<T, bool>)
            text << (value ? "true" : "false");
          else
            text << value;
        },
        entries_[i].value);
  }
  text << ")";
  return text.str();
}

}  // namespace ORVELL0300
