#include "base/json/json_writer.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

#include "base/values.h"

namespace base {

namespace {

constexpr uint32_t kReplacementCharacter = 0xFFFD;

// Decodes one UTF-8 character starting at |*index| and moves |*index| past it. An invalid
// sequence (a stray continuation byte, a truncated or overlong sequence, a surrogate or a
// value above U+10FFFF) yields U+FFFD and consumes only its first byte.
uint32_t NextCodePoint(const std::string& in, size_t* index) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(in.data());
  const size_t size = in.size();
  const unsigned char lead = bytes[*index];
  size_t length = 0;
  uint32_t code_point = 0;
  uint32_t minimum = 0;
  if (lead < 0x80) {
    ++*index;
    return lead;
  } else if ((lead & 0xE0) == 0xC0) {
    length = 2;
    code_point = lead & 0x1F;
    minimum = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    code_point = lead & 0x0F;
    minimum = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    code_point = lead & 0x07;
    minimum = 0x10000;
  } else {
    ++*index;
    return kReplacementCharacter;
  }
  if (*index + length > size) {
    ++*index;
    return kReplacementCharacter;
  }
  for (size_t i = 1; i < length; ++i) {
    const unsigned char next = bytes[*index + i];
    if ((next & 0xC0) != 0x80) {
      ++*index;
      return kReplacementCharacter;
    }
    code_point = (code_point << 6) | (next & 0x3F);
  }
  if (code_point < minimum || code_point > 0x10FFFF ||
      (code_point >= 0xD800 && code_point <= 0xDFFF)) {
    ++*index;
    return kReplacementCharacter;
  }
  *index += length;
  return code_point;
}

void AppendUnicodeEscape(uint32_t unit, std::string* out) {
  char buffer[8];
  std::snprintf(buffer, sizeof(buffer), "\\u%04X", static_cast<unsigned>(unit));
  out->append(buffer);
}

bool AppendDouble(double value, std::string* out) {
  if (!std::isfinite(value))
    return false;
  char buffer[32];
  const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
  const std::string text(buffer, result.ptr);
  out->append(text);
  if (text.find_first_of(".eE") == std::string::npos)
    out->append(".0");
  return true;
}

bool AppendValue(const Value& node, std::string* out);

bool AppendDictionary(const DictionaryValue& dictionary, std::string* out) {
  out->push_back('{');
  bool first = true;
  for (DictionaryValue::Iterator it(dictionary); !it.IsAtEnd(); it.Advance()) {
    if (!first)
      out->push_back(',');
    first = false;
    JSONWriter::AppendQuotedString(it.key(), out);
    out->push_back(':');
    if (!AppendValue(it.value(), out))
      return false;
  }
  out->push_back('}');
  return true;
}

bool AppendList(const ListValue& list, std::string* out) {
  out->push_back('[');
  bool first = true;
  for (const auto& element : list) {
    if (!first)
      out->push_back(',');
    first = false;
    if (!AppendValue(*element, out))
      return false;
  }
  out->push_back(']');
  return true;
}

bool AppendValue(const Value& node, std::string* out) {
  switch (node.GetType()) {
    case Value::TYPE_NULL:
      out->append("null");
      return true;
    case Value::TYPE_BOOLEAN: {
      bool value = false;
      node.GetAsBoolean(&value);
      out->append(value ? "true" : "false");
      return true;
    }
    case Value::TYPE_INTEGER: {
      int value = 0;
      node.GetAsInteger(&value);
      out->append(std::to_string(value));
      return true;
    }
    case Value::TYPE_DOUBLE: {
      double value = 0;
      node.GetAsDouble(&value);
      return AppendDouble(value, out);
    }
    case Value::TYPE_STRING: {
      JSONWriter::AppendQuotedString(static_cast<const StringValue&>(node).value(), out);
      return true;
    }
    case Value::TYPE_DICTIONARY:
      return AppendDictionary(static_cast<const DictionaryValue&>(node), out);
    case Value::TYPE_LIST:
      return AppendList(static_cast<const ListValue&>(node), out);
    case Value::TYPE_BINARY:
      return false;
  }
  return false;
}

}  // namespace

// static
bool JSONWriter::Write(const Value* node, std::string* json) {
  json->clear();
  if (node == nullptr || !AppendValue(*node, json)) {
    json->clear();
    return false;
  }
  return true;
}

// static
void JSONWriter::AppendQuotedString(const std::string& in, std::string* out) {
  out->push_back('"');
  size_t index = 0;
  while (index < in.size()) {
    const uint32_t code_point = NextCodePoint(in, &index);
    switch (code_point) {
      case '"':
        out->append("\\\"");
        break;
      case '\\':
        out->append("\\\\");
        break;
      case '\b':
        out->append("\\b");
        break;
      case '\f':
        out->append("\\f");
        break;
      case '\n':
        out->append("\\n");
        break;
      case '\r':
        out->append("\\r");
        break;
      case '\t':
        out->append("\\t");
        break;
      case '<':
      case '>':
        AppendUnicodeEscape(code_point, out);
        break;
      default:
        if (code_point < 0x20) {
          AppendUnicodeEscape(code_point, out);
        } else if (code_point < 0x80) {
          out->push_back(static_cast<char>(code_point));
        } else if (code_point < 0x10000) {
          AppendUnicodeEscape(code_point, out);
        } else {
          const uint32_t offset = code_point - 0x10000;
          AppendUnicodeEscape(0xD800 + (offset >> 10), out);
          AppendUnicodeEscape(0xDC00 + (offset & 0x3FF), out);
        }
    }
  }
  out->push_back('"');
}

}  // namespace base
