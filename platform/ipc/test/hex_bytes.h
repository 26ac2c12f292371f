// Test helper: bytes written as hex text, so expected wire data can be spelt out by hand.
//
//   HexBytes("0400 0000  2a00 0000") == std::string("\x04\0\0\0\x2a\0\0\0", 8)

#ifndef IPC_TEST_HEX_BYTES_H_
#define IPC_TEST_HEX_BYTES_H_

#include <cstddef>
#include <string>

#include "ipc/pickle.h"

namespace IPC {
namespace test {

// The bytes named by pairs of hex digits; blanks, line breaks and '|' are ignored.
inline std::string HexBytes(const std::string& text) {
  std::string bytes;
  int high = -1;
  for (char c : text) {
    int digit;
    if (c >= '0' && c <= '9')
      digit = c - '0';
    else if (c >= 'a' && c <= 'f')
      digit = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
      digit = c - 'A' + 10;
    else
      continue;
    if (high < 0) {
      high = digit;
    } else {
      bytes.push_back(static_cast<char>(high * 16 + digit));
      high = -1;
    }
  }
  return bytes;
}

// |data| as lower-case hex pairs separated by blanks, for readable failure messages.
inline std::string ToHex(const void* data, size_t size) {
  static const char kDigits[] = "0123456789abcdef";
  const unsigned char* p = static_cast<const unsigned char*>(data);
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    if (i)
      text.push_back(' ');
    text.push_back(kDigits[p[i] >> 4]);
    text.push_back(kDigits[p[i] & 15]);
  }
  return text;
}

inline std::string ToHex(const std::string& bytes) {
  return ToHex(bytes.data(), bytes.size());
}

// All of |pickle| (a message: header and payload), or only its payload.
inline std::string ToHex(const Pickle& pickle) {
  return ToHex(pickle.data(), pickle.size());
}
inline std::string PayloadHex(const Pickle& pickle) {
  return ToHex(pickle.payload(), pickle.payload_size());
}

}  // namespace test
}  // namespace IPC

#endif  // IPC_TEST_HEX_BYTES_H_
