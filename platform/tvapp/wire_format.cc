#include "tvapp/wire_format.h"

#include <time.h>

#include <cstring>
#include <limits>

namespace ORVELL0300 {
namespace wire {

namespace {

// Value types on the wire: the index of the alternative in CMessage::Value plus one.
const uint8_t kFirstValueType = 1;
const uint8_t kLastValueType = 5;

// Appends little-endian fields to a payload. It refuses, through ok(), what a reader
// would refuse: texts holding NUL and encodings other than UTF-8.
class PayloadWriter {
 public:
  explicit PayloadWriter(std::string* out) : out_(out) {}

  bool ok() const { return ok_; }

  void U8(uint8_t value) { out_->push_back(static_cast<char>(value)); }
  void U32(uint32_t value) {
    for (int shift = 0; shift < 32; shift += 8)
      U8(static_cast<uint8_t>(value >> shift));
  }
  void U64(uint64_t value) {
    for (int shift = 0; shift < 64; shift += 8)
      U8(static_cast<uint8_t>(value >> shift));
  }
  void Bytes(const std::string& bytes) {
    if (bytes.find('\0') != std::string::npos)
      ok_ = false;
    U32(static_cast<uint32_t>(bytes.size()));
    out_->append(bytes);
  }
  void String(const OCString& string) {
    if (string.encoding() != OCString::kTextEncodingUtf8)
      ok_ = false;
    U8(static_cast<uint8_t>(string.encoding()));
    Bytes(string.text());
  }

 private:
  std::string* out_;
  bool ok_ = true;
};

// Reads little-endian fields from a payload; every read checks the bounds first.
class PayloadReader {
 public:
  PayloadReader(const char* data, size_t size) : data_(data), remaining_(size) {}

  bool AtEnd() const { return remaining_ == 0; }

  bool U8(uint8_t* value) {
    if (remaining_ < 1)
      return false;
    *value = static_cast<uint8_t>(*data_);
    Skip(1);
    return true;
  }
  bool U32(uint32_t* value) {
    uint64_t wide = 0;
    if (!Unsigned(4, &wide))
      return false;
    *value = static_cast<uint32_t>(wide);
    return true;
  }
  bool U64(uint64_t* value) { return Unsigned(8, value); }

  // A run of bytes without NUL: texts reach applications as C strings.
  bool Bytes(std::string* bytes) {
    uint32_t size = 0;
    if (!U32(&size) || size > remaining_ || std::memchr(data_, '\0', size) != nullptr)
      return false;
    bytes->assign(data_, size);
    Skip(size);
    return true;
  }
  bool String(OCString* string) {
    uint8_t encoding = 0;
    std::string text;
    if (!U8(&encoding) || encoding != OCString::kTextEncodingUtf8 || !Bytes(&text))
      return false;
    *string = OCString(text, OCString::kTextEncodingUtf8);
    return true;
  }

 private:
  bool Unsigned(int size, uint64_t* value) {
    if (remaining_ < static_cast<size_t>(size))
      return false;
    uint64_t result = 0;
    for (int i = size - 1; i >= 0; --i)
      result = (result << 8) | static_cast<uint8_t>(data_[i]);
    *value = result;
    Skip(size);
    return true;
  }
  void Skip(size_t size) {
    data_ += size;
    remaining_ -= size;
  }

  const char* data_;
  size_t remaining_;
};

void WriteValue(const CMessage::Value& value, PayloadWriter* writer) {
  writer->U8(static_cast<uint8_t>(value.index() + kFirstValueType));
  switch (value.index()) {
    case CMessage::kValueOCString:
      writer->String(std::get<CMessage::kValueOCString>(value));
      break;
    case CMessage::kValueText:
      writer->Bytes(std::get<CMessage::kValueText>(value));
      break;
    case CMessage::kValueLong:
      writer->U64(
          static_cast<uint64_t>(static_cast<int64_t>(std::get<CMessage::kValueLong>(value))));
      break;
    case CMessage::kValueFloat: {
      const float number = std::get<CMessage::kValueFloat>(value);
      uint32_t bits = 0;
      std::memcpy(&bits, &number, sizeof(bits));
      writer->U32(bits);
      break;
    }
    case CMessage::kValueBool:
      writer->U8(std::get<CMessage::kValueBool>(value) ? 1 : 0);
      break;
  }
}

bool ReadValue(uint8_t type, PayloadReader* reader, CMessage::Value* value) {
  switch (type - kFirstValueType) {
    case CMessage::kValueOCString: {
      OCString string;
      if (!reader->String(&string))
        return false;
      value->emplace<CMessage::kValueOCString>(string);
      return true;
    }
    case CMessage::kValueText: {
      std::string text;
      if (!reader->Bytes(&text))
        return false;
      value->emplace<CMessage::kValueText>(text);
      return true;
    }
    case CMessage::kValueLong: {
      uint64_t bits = 0;
      if (!reader->U64(&bits))
        return false;
      const int64_t number = static_cast<int64_t>(bits);
      // A long is 32 bits wide on some of the framework's targets.
      if (number < std::numeric_limits<long>::min() || number > std::numeric_limits<long>::max())
        return false;
      value->emplace<CMessage::kValueLong>(static_cast<long>(number));
      return true;
    }
    case CMessage::kValueFloat: {
      uint32_t bits = 0;
      if (!reader->U32(&bits))
        return false;
      float number = 0;
      std::memcpy(&number, &bits, sizeof(number));
      value->emplace<CMessage::kValueFloat>(number);
      return true;
    }
    case CMessage::kValueBool: {
      uint8_t flag = 0;
      if (!reader->U8(&flag) || flag > 1)
        return false;
      value->emplace<CMessage::kValueBool>(flag == 1);
      return true;
    }
  }
  return false;
}

// CLOCK_MONOTONIC now, in nanoseconds.
int64_t MonotonicNow() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

}  // namespace

uint64_t ToMonotonicNanoseconds(std::chrono::steady_clock::time_point deadline) {
  // The steady clock is CLOCK_MONOTONIC wherever the framework runs; going through the
  // distance from now keeps the field right even where it is not.
  const int64_t from_now = std::chrono::duration_cast<std::chrono::nanoseconds>(
                               deadline - std::chrono::steady_clock::now())
                               .count();
  const int64_t result = MonotonicNow() + from_now;
  return result < 0 ? 0 : static_cast<uint64_t>(result);
}

std::chrono::steady_clock::time_point FromMonotonicNanoseconds(uint64_t deadline_ns) {
  typedef std::chrono::steady_clock::time_point TimePoint;
  const int64_t now = MonotonicNow();
  const TimePoint steady_now = std::chrono::steady_clock::now();
  // Both sides are non-negative, so the difference cannot overflow; a deadline too far
  // off for the steady clock is taken as never.
  const int64_t from_now = (deadline_ns > static_cast<uint64_t>(std::numeric_limits<int64_t>::max())
                                ? std::numeric_limits<int64_t>::max()
                                : static_cast<int64_t>(deadline_ns)) -
                           now;
  const int64_t room =
      std::chrono::duration_cast<std::chrono::nanoseconds>(TimePoint::max() - steady_now).count();
  if (from_now >= room)
    return TimePoint::max();
  return steady_now + std::chrono::duration_cast<std::chrono::steady_clock::duration>(
                          std::chrono::nanoseconds(from_now));
}

bool EncodeFrame(const Frame& frame, std::string* out) {
  std::string payload;
  PayloadWriter writer(&payload);
  writer.U8(frame.kind);
  writer.U32(frame.request_id);
  writer.U32(static_cast<uint32_t>(frame.message_type));
  if (frame.kind == kRequestFrame)
    writer.U64(frame.deadline_ns);
  writer.String(frame.message.GetName());
  writer.U32(static_cast<uint32_t>(frame.message.entries().size()));
  for (const CMessage::Entry& entry : frame.message.entries()) {
    writer.String(entry.key);
    WriteValue(entry.value, &writer);
  }
  if (!writer.ok() || payload.size() > kMaxPayloadSize)
    return false;
  PayloadWriter(out).U32(static_cast<uint32_t>(payload.size()));
  out->append(payload);
  return true;
}

bool DecodePayload(const char* data, size_t size, Frame* frame) {
  PayloadReader reader(data, size);
  uint8_t kind = 0;
  uint32_t request_id = 0;
  uint32_t message_type = 0;
  uint64_t deadline_ns = 0;
  OCString name;
  uint32_t count = 0;
  if (!reader.U8(&kind) || (kind != kRequestFrame && kind != kReplyFrame) ||
      !reader.U32(&request_id) || !reader.U32(&message_type) ||
      (kind == kRequestFrame && !reader.U64(&deadline_ns)) || !reader.String(&name) ||
      !reader.U32(&count)) {
    return false;
  }
  CMessage message;
  message.SetName(name);
  for (uint32_t i = 0; i < count; ++i) {
    OCString key;
    uint8_t type = 0;
    CMessage::Value value;
    if (!reader.String(&key) || !reader.U8(&type) || type < kFirstValueType ||
        type > kLastValueType || !ReadValue(type, &reader, &value)) {
      return false;
    }
    message.AddEntry(key, value);
  }
  if (!reader.AtEnd())
    return false;
  frame->kind = static_cast<FrameKind>(kind);
  frame->request_id = request_id;
  frame->message_type = static_cast<int32_t>(message_type);
  frame->deadline_ns = deadline_ns;
  frame->message = message;
  return true;
}

FrameReader::FrameReader() = default;

FrameReader::~FrameReader() = default;

void FrameReader::Append(const char* data, size_t size) {
  if (!malformed_)
    buffer_.append(data, size);
}

FrameReader::Result FrameReader::Next(Frame* frame) {
  if (malformed_)
    return kMalformed;
  if (buffer_.size() < kLengthPrefixSize)
    return kNeedMore;
  uint32_t size = 0;
  PayloadReader(buffer_.data(), kLengthPrefixSize).U32(&size);
  if (size > kMaxPayloadSize) {
    malformed_ = true;
    buffer_.clear();
    return kMalformed;
  }
  if (buffer_.size() < kLengthPrefixSize + size)
    return kNeedMore;
  if (!DecodePayload(buffer_.data() + kLengthPrefixSize, size, frame)) {
    malformed_ = true;
    buffer_.clear();
    return kMalformed;
  }
  buffer_.erase(0, kLengthPrefixSize + size);
  return kFrameReady;
}

}  // namespace wire
}  // namespace ORVELL0300
