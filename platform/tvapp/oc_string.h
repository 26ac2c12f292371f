// The TV application framework's string: a text together with the encoding it is written in.

#ifndef TVAPP_OC_STRING_H_
#define TVAPP_OC_STRING_H_

#include <string>

class OCString {
 public:
  // The numbers travel with the text between applications. UTF-8 is the one encoding that
  // applications exchange today.
  enum ETextEncoding {
    kTextEncodingUtf8 = 2,
  };

  // An empty UTF-8 text.
  OCString();
  // Copies the NUL-terminated |text|; a null |text| gives an empty string.
  OCString(const char* text, ETextEncoding encoding);
  OCString(const std::string& text, ETextEncoding encoding);

  const std::string& text() const { return text_; }
  ETextEncoding encoding() const { return encoding_; }

  // Same encoding and the same bytes.
  bool operator==(const OCString& other) const;
  bool operator!=(const OCString& other) const { return !(*this == other); }

 private:
  std::string text_;
  ETextEncoding encoding_;
};

#endif  // TVAPP_OC_STRING_H_
