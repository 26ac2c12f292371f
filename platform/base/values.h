// The platform's string-keyed value tree: null, boolean, integer, double, string, binary,
// dictionary and list values. Containers own the values put into them.

#ifndef BASE_VALUES_H_
#define BASE_VALUES_H_

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace base {

class BinaryValue;
class DictionaryValue;
class FundamentalValue;
class ListValue;
class StringValue;

class Value {
 public:
  // The numbers are part of the IPC encoding: do not reorder.
  enum Type {
    TYPE_NULL = 0,
    TYPE_BOOLEAN = 1,
    TYPE_INTEGER = 2,
    TYPE_DOUBLE = 3,
    TYPE_STRING = 4,
    TYPE_BINARY = 5,
    TYPE_DICTIONARY = 6,
    TYPE_LIST = 7,
  };

  virtual ~Value();
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;

  // Factories. The caller owns the returned value.
  static Value* CreateNullValue();
  static FundamentalValue* CreateBooleanValue(bool in_value);
  static FundamentalValue* CreateIntegerValue(int in_value);
  static FundamentalValue* CreateDoubleValue(double in_value);
  static StringValue* CreateStringValue(const std::string& in_value);

  Type GetType() const { return type_; }
  bool IsType(Type type) const { return type == type_; }

  // Each succeeds only when the value is of exactly that type.
  virtual bool GetAsBoolean(bool* out_value) const;
  virtual bool GetAsInteger(int* out_value) const;
  virtual bool GetAsDouble(double* out_value) const;
  virtual bool GetAsString(std::string* out_value) const;

  // A deep copy of this value. The caller owns the copy.
  virtual Value* DeepCopy() const;

  // Deep equality: same type and same content.
  virtual bool Equals(const Value* other) const;
  static bool Equals(const Value* a, const Value* b);

 protected:
  explicit Value(Type type);

 private:
  Type type_;
};

// A boolean, integer or double.
class FundamentalValue : public Value {
 public:
  explicit FundamentalValue(bool in_value);
  explicit FundamentalValue(int in_value);
  explicit FundamentalValue(double in_value);
  ~FundamentalValue() override;

  bool GetAsBoolean(bool* out_value) const override;
  bool GetAsInteger(int* out_value) const override;
  bool GetAsDouble(double* out_value) const override;
  FundamentalValue* DeepCopy() const override;
  bool Equals(const Value* other) const override;

 private:
  union {
    bool boolean_value_;
    int integer_value_;
    double double_value_;
  };
};

class StringValue : public Value {
 public:
  explicit StringValue(const std::string& in_value);
  ~StringValue() override;

  const std::string& value() const { return value_; }

  bool GetAsString(std::string* out_value) const override;
  StringValue* DeepCopy() const override;
  bool Equals(const Value* other) const override;

 private:
  std::string value_;
};

// An opaque run of bytes.
class BinaryValue : public Value {
 public:
  // Copies |size| bytes from |buffer|. The caller owns the result.
  static BinaryValue* CreateWithCopiedBuffer(const char* buffer, size_t size);
  ~BinaryValue() override;

  size_t GetSize() const { return data_.size(); }
  const char* GetBuffer() const { return data_.data(); }

  BinaryValue* DeepCopy() const override;
  bool Equals(const Value* other) const override;

 private:
  explicit BinaryValue(std::vector<char> data);

  std::vector<char> data_;
};

// A map from keys to values, kept in ascending byte order of the keys. A "path" is a
// '.'-separated list of keys that descends through nested dictionaries; the
// ...WithoutPathExpansion operations take the key as it stands.
class DictionaryValue : public Value {
 public:
  DictionaryValue();
  ~DictionaryValue() override;

  bool HasKey(const std::string& key) const;
  size_t size() const { return dictionary_.size(); }
  bool empty() const { return dictionary_.empty(); }
  void Clear();

  // Stores |in_value| at |path|, creating the dictionaries on the way and replacing
  // whatever was there. Takes ownership of |in_value|.
  void Set(const std::string& path, Value* in_value);
  void SetBoolean(const std::string& path, bool in_value);
  void SetInteger(const std::string& path, int in_value);
  void SetDouble(const std::string& path, double in_value);
  void SetString(const std::string& path, const std::string& in_value);

  // Stores |in_value| under |key| as one key. Takes ownership of |in_value|.
  void SetWithoutPathExpansion(const std::string& key, Value* in_value);

  // Look-ups. The out-pointers point into this dictionary, which keeps ownership.
  // Typed getters succeed only for an entry of exactly that type; on failure the
  // out-parameter is left untouched.
  bool Get(const std::string& path, const Value** out_value) const;
  bool Get(const std::string& path, Value** out_value);
  bool GetBoolean(const std::string& path, bool* out_value) const;
  bool GetInteger(const std::string& path, int* out_value) const;
  bool GetDouble(const std::string& path, double* out_value) const;
  bool GetString(const std::string& path, std::string* out_value) const;
  bool GetDictionary(const std::string& path, const DictionaryValue** out_value) const;
  bool GetList(const std::string& path, const ListValue** out_value) const;
  bool GetWithoutPathExpansion(const std::string& key, const Value** out_value) const;

  // Removes the entry under |key| as one key; false when there is none.
  bool RemoveWithoutPathExpansion(const std::string& key);

  DictionaryValue* DeepCopy() const override;
  bool Equals(const Value* other) const override;

  // Walks the entries in key order. The dictionary must outlive the iterator and must
  // not change while it is used.
  class Iterator {
   public:
    explicit Iterator(const DictionaryValue& target);
    bool IsAtEnd() const { return it_ == target_.dictionary_.end(); }
    void Advance() { ++it_; }
    const std::string& key() const { return it_->first; }
    const Value& value() const { return *it_->second; }

   private:
    const DictionaryValue& target_;
    std::map<std::string, std::unique_ptr<Value>>::const_iterator it_;
  };

 private:
  std::map<std::string, std::unique_ptr<Value>> dictionary_;
};

class ListValue : public Value {
 public:
  using const_iterator = std::vector<std::unique_ptr<Value>>::const_iterator;

  ListValue();
  ~ListValue() override;

  size_t GetSize() const { return list_.size(); }
  bool empty() const { return list_.empty(); }
  void Clear();

  // Appends |in_value|. Takes ownership of |in_value|.
  void Append(Value* in_value);

  // The out-pointers point into this list, which keeps ownership. Typed getters succeed
  // only for an element of exactly that type.
  bool Get(size_t index, const Value** out_value) const;
  bool GetInteger(size_t index, int* out_value) const;
  bool GetString(size_t index, std::string* out_value) const;
  bool GetDictionary(size_t index, const DictionaryValue** out_value) const;

  const_iterator begin() const { return list_.begin(); }
  const_iterator end() const { return list_.end(); }

  ListValue* DeepCopy() const override;
  bool Equals(const Value* other) const override;

 private:
  std::vector<std::unique_ptr<Value>> list_;
};

}  // namespace base

#endif  // BASE_VALUES_H_
