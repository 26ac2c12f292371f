#include "ipc/pickle.h"

#include <cstdlib>
#include <cstring>

#include "base/logging.h"

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__,
              "the wire format is little-endian and integers are copied as they are held");

namespace {

const size_t kAlignment = sizeof(uint32_t);

size_t AlignUp(size_t offset) {
  return (offset + kAlignment - 1) & ~(kAlignment - 1);
}

uint32_t ReadPayloadSize(const char* header) {
  uint32_t size;
  std::memcpy(&size, header, sizeof(size));
  return size;
}

}  // namespace

// PickleIterator ------------------------------------------------------------

PickleIterator::PickleIterator() : payload_(nullptr), read_index_(0), end_index_(0) {}

PickleIterator::PickleIterator(const Pickle& pickle)
    : payload_(pickle.payload()), read_index_(0), end_index_(pickle.payload_size()) {}

const char* PickleIterator::GetReadPointerAndAdvance(size_t length) {
  if (length > end_index_ - read_index_)
    return nullptr;
  const char* current = payload_ + read_index_;
  // The next element starts at an aligned offset; past the last element that may lie
  // beyond the end, which is where the iterator stops.
  const size_t next = AlignUp(read_index_ + length);
  read_index_ = next < end_index_ ? next : end_index_;
  return current;
}

bool PickleIterator::ReadInt(int* result) {
  const char* p = GetReadPointerAndAdvance(sizeof(*result));
  if (!p)
    return false;
  std::memcpy(result, p, sizeof(*result));
  return true;
}

bool PickleIterator::ReadBool(bool* result) {
  const char* p = GetReadPointerAndAdvance(1);
  if (!p)
    return false;
  *result = *p != 0;
  return true;
}

bool PickleIterator::ReadUInt16(uint16_t* result) {
  const char* p = GetReadPointerAndAdvance(sizeof(*result));
  if (!p)
    return false;
  std::memcpy(result, p, sizeof(*result));
  return true;
}

bool PickleIterator::ReadString(std::string* result) {
  const char* data;
  int length;
  if (!ReadData(&data, &length))
    return false;
  result->assign(data, static_cast<size_t>(length));
  return true;
}

bool PickleIterator::ReadData(const char** data, int* length) {
  // The length and the bytes are read as one: a failure leaves the iterator where it was.
  const size_t saved_index = read_index_;
  int n;
  if (!ReadInt(&n) || n < 0) {
    read_index_ = saved_index;
    return false;
  }
  const char* p = GetReadPointerAndAdvance(static_cast<size_t>(n));
  if (!p) {
    read_index_ = saved_index;
    return false;
  }
  *data = p;
  *length = n;
  return true;
}

bool PickleIterator::ReadBytes(const char** data, int length) {
  if (length < 0)
    return false;
  const char* p = GetReadPointerAndAdvance(static_cast<size_t>(length));
  if (!p)
    return false;
  *data = p;
  return true;
}

bool PickleIterator::SkipBytes(int length) {
  if (length >= 0 && GetReadPointerAndAdvance(static_cast<size_t>(length)))
    return true;
  read_index_ = end_index_;
  return false;
}

// Pickle --------------------------------------------------------------------

Pickle::Pickle() {
  InitEmpty(sizeof(Header));
}

Pickle::Pickle(int header_size) {
  CHECK(header_size >= static_cast<int>(sizeof(Header)));
  CHECK(static_cast<size_t>(header_size) % kAlignment == 0);
  InitEmpty(static_cast<size_t>(header_size));
}

Pickle::Pickle(const char* data, int data_len) {
  if (data_len < static_cast<int>(sizeof(Header))) {
    InitEmpty(sizeof(Header));
    return;
  }
  const size_t total = static_cast<size_t>(data_len);
  const uint32_t payload_size = ReadPayloadSize(data);
  if (payload_size > total - sizeof(Header) || (total - payload_size) % kAlignment != 0) {
    InitEmpty(sizeof(Header));
    return;
  }
  buffer_.assign(data, data + total);
  header_size_ = total - payload_size;
}

Pickle::Pickle(const char* data, int data_len, size_t header_size) {
  InitEmpty(header_size);
  if (data_len < static_cast<int>(header_size))
    return;
  const size_t total = static_cast<size_t>(data_len);
  if (ReadPayloadSize(data) != total - header_size)
    return;
  buffer_.assign(data, data + total);
}

Pickle::~Pickle() = default;

Pickle::Pickle(const Pickle& other) = default;

Pickle& Pickle::operator=(const Pickle& other) = default;

bool Pickle::WriteInt(int value) {
  return Append(&value, sizeof(value));
}

bool Pickle::WriteBool(bool value) {
  return WriteInt(value ? 1 : 0);
}

bool Pickle::WriteUInt16(uint16_t value) {
  return Append(&value, sizeof(value));
}

bool Pickle::WriteString(const std::string& value) {
  if (value.size() > kMaxPayloadSize)
    return false;
  return WriteData(value.data(), static_cast<int>(value.size()));
}

bool Pickle::WriteData(const char* data, int length) {
  if (length < 0)
    return false;
  // Length and bytes go in together or not at all.
  if (AlignUp(payload_size()) + sizeof(int) + static_cast<size_t>(length) > kMaxPayloadSize)
    return false;
  return WriteInt(length) && Append(data, static_cast<size_t>(length));
}

bool Pickle::WriteBytes(const void* data, int length) {
  if (length < 0)
    return false;
  return Append(data, static_cast<size_t>(length));
}

void Pickle::CheckHeaderSize(size_t size) const {
  if (header_size_ == size)
    return;
  {
    logging::LogMessage message(
        __FILE__, __LINE__,
        logging::MakeCheckOpString(header_size_, size, "header_size_ == sizeof(T)"));
  }
  std::abort();
}

bool Pickle::Append(const void* data, size_t length) {
  const size_t offset = AlignUp(payload_size());
  if (length > kMaxPayloadSize || offset > kMaxPayloadSize - length)
    return false;
  buffer_.resize(header_size_ + offset, 0);
  const char* bytes = static_cast<const char*>(data);
  buffer_.insert(buffer_.end(), bytes, bytes + length);
  SetPayloadSize(offset + length);
  return true;
}

void Pickle::SetPayloadSize(size_t size) {
  const uint32_t value = static_cast<uint32_t>(size);
  std::memcpy(buffer_.data(), &value, sizeof(value));
}

void Pickle::InitEmpty(size_t header_size) {
  header_size_ = header_size;
  buffer_.assign(header_size, 0);
}
