#include "tvapp/oc_string.h"

OCString::OCString() : encoding_(kTextEncodingUtf8) {}

OCString::OCString(const char* text, ETextEncoding encoding)
    : text_(text ? text : ""), encoding_(encoding) {}

OCString::OCString(const std::string& text, ETextEncoding encoding)
    : text_(text), encoding_(encoding) {}

bool OCString::operator==(const OCString& other) const {
  return encoding_ == other.encoding_ && text_ == other.text_;
}
