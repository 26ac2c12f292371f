// A message between applications of the TV application framework: a name and an ordered
// list of typed entries, each a key with one value.
//
//   ORVELL0300::CMessage request;
//   request.SetName(OCString("set_volume", OCString::kTextEncodingUtf8));
//   request.MakeResult(OCString("level", OCString::kTextEncodingUtf8), 12L);
//
// The same class carries the reply, which the receiver fills and the sender reads with
// Query().

#ifndef TVAPP_MESSAGE_H_
#define TVAPP_MESSAGE_H_

#include <string>
#include <variant>
#include <vector>

#include "tvapp/oc_string.h"

namespace ORVELL0300 {

class CMessage {
 public:
  // An entry's value. The index of the alternative is the entry's type; text given as
  // "const char*" is kept as its own type, apart from OCString.
  typedef std::variant<OCString, std::string, long, float, bool> Value;
  enum EValueType {
    kValueOCString = 0,
    kValueText = 1,
    kValueLong = 2,
    kValueFloat = 3,
    kValueBool = 4,
  };

  struct Entry {
    OCString key;
    Value value;
    bool operator==(const Entry& other) const;
  };

  // An unnamed message without entries.
  CMessage();
  ~CMessage();
  CMessage(const CMessage& other);
  CMessage& operator=(const CMessage& other);

  void SetName(const OCString& name);
  const OCString& GetName() const { return name_; }

  // Each appends one entry after those already there. A null |value| text is taken as
  // the empty text.
  void MakeResult(const OCString& key, const OCString& value);
  void MakeResult(const OCString& key, const char* value);
  void MakeResult(const OCString& key, long value);
  void MakeResult(const OCString& key, float value);
  void MakeResult(const OCString& key, bool value);
  // Appends an entry of any type; the framework's transport rebuilds messages with it.
  void AddEntry(const OCString& key, const Value& value);

  // Each looks at the first entry whose key is |key|. When that entry holds a value of
  // the asked type it stores the value and returns nonzero; otherwise it returns 0 and
  // leaves |value| alone.
  int Query(const OCString& key, OCString& value) const;
  int Query(const OCString& key, long& value) const;
  int Query(const OCString& key, float& value) const;
  int Query(const OCString& key, bool& value) const;

  // The number of entries.
  int NumOfQuery() const;
  const std::vector<Entry>& entries() const { return entries_; }

  bool operator==(const CMessage& other) const;
  bool operator!=(const CMessage& other) const { return !(*this == other); }

  // The message for a log or trace line: its name and its entries in order, e.g.
  // set_cec_receiver_on_off(onoff=true, "text"="a b").
  std::string ToString() const;

 private:
  template <typename T>
  int QueryAs(const OCString& key, T& value) const;

  OCString name_;
  std::vector<Entry> entries_;
};

}  // namespace ORVELL0300

#endif  // TVAPP_MESSAGE_H_
