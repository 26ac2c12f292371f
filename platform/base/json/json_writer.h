// Serialises a value tree to compact JSON.

#ifndef BASE_JSON_JSON_WRITER_H_
#define BASE_JSON_JSON_WRITER_H_

#include <string>

namespace base {

class Value;

class JSONWriter {
 public:
  // Replaces |*json| with the compact JSON text of |node|: no blanks or line breaks,
  // dictionary keys in ascending byte order, doubles in their shortest round-trip form
  // (with ".0" when they would otherwise read as integers). Strings are escaped so that
  // the text is plain ASCII: non-ASCII UTF-8 becomes \uXXXX UTF-16 units, invalid UTF-8
  // becomes U+FFFD, and '<' and '>' are escaped too so the text can sit inside markup.
  // Returns false, leaving |*json| empty, when the tree holds a binary value or a
  // non-finite double, which JSON cannot express.
  static bool Write(const Value* node, std::string* json);

  // Appends |in| as a quoted, escaped JSON string to |*out|.
  static void AppendQuotedString(const std::string& in, std::string* out);

  JSONWriter() = delete;
};

}  // namespace base

#endif  // BASE_JSON_JSON_WRITER_H_
