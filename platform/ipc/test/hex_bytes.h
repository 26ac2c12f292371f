// Test helper: bytes written as hex text, so expected wire data can be spelt out by hand.
//
//   HexBytes("0400 0000  2a00 0000") == std::string("\x04\0\0\0\x2a\0\0\0", 8)

#ifndef IPC_TEST_HEX_BYTES_H_
#define IPC_TEST_HEX_BYTES_H_

#include <cctype>
#include <cstddef>
#include <cstdio>
#include <string>

namespace IPC {
namespace test {

// The bytes named by pairs of hex digits; every other character is ignored.
inline std::string HexBytes(const std::string& text) {
  std::string digits;
  for (char c : text) {
    if (std::isxdigit(static_cast<unsigned char>(c)))
      digits.push_back(c);
  }
  std::string bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2)
    bytes.push_back(static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
  return bytes;
}

// |data| as lower-case hex pairs separated by blanks, for readable failure messages.
inline std::string ToHex(const void* data, size_t size) {
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    char pair[4];
    std::snprintf(pair, sizeof(pair), i ? " %02x" : "%02x",
                  static_cast<const unsigned char*>(data)[i]);
    text += pair;
  }
  return text;
}

inline std::string ToHex(const std::string& bytes) {
  return ToHex(bytes.data(), bytes.size());
}

}  // namespace test
}  // namespace IPC

#endif  // IPC_TEST_HEX_BYTES_H_
