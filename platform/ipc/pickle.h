// A flat serialisation buffer: a header whose first 4 bytes hold the payload size, then
// the payload. Every write starts at the next 4-byte-aligned payload offset, with the gap
// filled with zeros; the payload size is the end of the last write, not rounded up, so
// nothing is sent after a short last element. All integers are little-endian.
//
//   Pickle pickle;
//   pickle.WriteInt(7);
//   pickle.WriteString("seven");
//   PickleIterator iter(pickle);
//   int n;
//   std::string s;
//   if (iter.ReadInt(&n) && iter.ReadString(&s)) ...

#ifndef IPC_PICKLE_H_
#define IPC_PICKLE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class Pickle;

// Reads the elements of a pickle in order. Every read checks that its bytes lie inside
// the payload and returns false, leaving its output untouched, when they do not; after
// a read the iterator moves on to the next 4-byte boundary. The pickle must outlive the
// iterator and must not be written to while the iterator is used.
class PickleIterator {
 public:
  PickleIterator();
  explicit PickleIterator(const Pickle& pickle);

  bool ReadInt(int* result);
  // The first byte of a slot: non-zero is true. Only that byte needs to be present.
  bool ReadBool(bool* result);
  bool ReadUInt16(uint16_t* result);
  // An int length, which must be at least 0 and no more than the bytes that remain,
  // then that many bytes.
  bool ReadString(std::string* result);
  // As ReadString; |*data| points into the pickle.
  bool ReadData(const char** data, int* length);
  // |length| raw bytes with no prefix; |*data| points into the pickle.
  bool ReadBytes(const char** data, int length);
  // Moves past |length| bytes. When fewer remain, moves to the end and returns false.
  bool SkipBytes(int length);

  // The bytes between the read position and the end of the payload.
  size_t RemainingBytes() const { return end_index_ - read_index_; }

 private:
  // Returns the next |length| bytes and moves past them, or null when fewer remain.
  const char* GetReadPointerAndAdvance(size_t length);

  const char* payload_;
  size_t read_index_;
  size_t end_index_;
};

class Pickle {
 public:
  // The plain header: the payload size alone.
  struct Header {
    uint32_t payload_size;
  };

  // An empty pickle with a 4-byte header.
  Pickle();
  // An empty pickle whose header is |header_size| bytes: at least 4 and a multiple of 4.
  // The bytes after the payload size start as zeros.
  explicit Pickle(int header_size);
  // Copies a whole serialised pickle: its header is whatever precedes the payload size it
  // names. Data that cannot be one (shorter than 4 bytes, a payload size larger than the
  // data, a header that is not a multiple of 4) gives an empty pickle with a 4-byte header.
  Pickle(const char* data, int data_len);
  virtual ~Pickle();

  Pickle(const Pickle& other);
  Pickle& operator=(const Pickle& other);

  // The whole serialised pickle, header and payload.
  const void* data() const { return buffer_.data(); }
  size_t size() const { return buffer_.size(); }

  const char* payload() const { return buffer_.data() + header_size_; }
  size_t payload_size() const { return buffer_.size() - header_size_; }

  // Each appends one element and returns false, writing nothing, when it cannot (a
  // negative length, or a payload that would pass kMaxPayloadSize).
  bool WriteInt(int value);
  bool WriteBool(bool value);  // an int, 1 or 0
  bool WriteUInt16(uint16_t value);
  bool WriteString(const std::string& value);     // an int length, then the bytes
  bool WriteData(const char* data, int length);   // an int length, then the bytes
  bool WriteBytes(const void* data, int length);  // the bytes alone

  // The header as |T|, which must be exactly the header's size; a mismatch is a
  // programming error that stops the process.
  template <class T>
  T* headerT() {
    CheckHeaderSize(sizeof(T));
    return reinterpret_cast<T*>(buffer_.data());
  }
  template <class T>
  const T* headerT() const {
    CheckHeaderSize(sizeof(T));
    return reinterpret_cast<const T*>(buffer_.data());
  }

  // The largest payload a pickle holds.
  static constexpr size_t kMaxPayloadSize = 0x7FFFFFF0;

 protected:
  size_t header_size() const { return header_size_; }

  // Copies a whole serialised pickle whose header is |header_size| bytes. Data that is not
  // exactly such a header and the payload it names gives an empty pickle of that header
  // size, all zeros.
  Pickle(const char* data, int data_len, size_t header_size);

 private:
  friend class PickleIterator;

  void CheckHeaderSize(size_t size) const;
  // Zero-fills up to the next aligned offset, then appends |length| bytes.
  bool Append(const void* data, size_t length);
  void SetPayloadSize(size_t size);
  void InitEmpty(size_t header_size);

  // Header and payload; its size is always header_size_ + payload size. The vector's
  // storage comes from operator new, so the header is suitably aligned for its struct.
  std::vector<char> buffer_;
  size_t header_size_;
};

#endif  // IPC_PICKLE_H_
