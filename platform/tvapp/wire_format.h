// The framework's encoding of messages between processes: length-prefixed frames that
// carry a request or a reply. docs/tvapp-transport.md describes the bytes.

#ifndef TVAPP_WIRE_FORMAT_H_
#define TVAPP_WIRE_FORMAT_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "tvapp/message.h"

namespace ORVELL0300 {
namespace wire {

// The size of the length prefix, and the largest payload that may follow it.
const size_t kLengthPrefixSize = 4;
const size_t kMaxPayloadSize = 64 * 1024;

// Kind 1 was a request without a deadline; readers refuse it.
enum FrameKind : uint8_t {
  kReplyFrame = 2,
  kRequestFrame = 3,
};

struct Frame {
  FrameKind kind = kRequestFrame;
  uint32_t request_id = 0;  // a reply repeats the id of the request it answers
  int32_t message_type = 0;
  // Requests only: when the sender gives up, in nanoseconds of CLOCK_MONOTONIC, the
  // clock that every process on the machine shares. Not sent in replies.
  uint64_t deadline_ns = 0;
  CMessage message;
};

// A deadline of this process's steady clock as CLOCK_MONOTONIC nanoseconds, and back.
// Times before the clock's start are taken as its start.
uint64_t ToMonotonicNanoseconds(std::chrono::steady_clock::time_point deadline);
std::chrono::steady_clock::time_point FromMonotonicNanoseconds(uint64_t deadline_ns);

// Appends the whole frame, length prefix included, to |out|. False, with |out| as it was,
// when the frame would exceed kMaxPayloadSize.
bool EncodeFrame(const Frame& frame, std::string* out);

// Cuts a byte stream into frames. Bytes go in as they arrive; whole frames come out.
class FrameReader {
 public:
  enum Result {
    kNeedMore,    // no complete frame yet
    kFrameReady,  // one frame was taken out of the buffer
    kMalformed,   // the stream cannot be read further; drop the connection
  };

  FrameReader();
  ~FrameReader();
  FrameReader(const FrameReader&) = delete;
  FrameReader& operator=(const FrameReader&) = delete;

  void Append(const char* data, size_t size);
  // Takes the next complete frame out of the buffer into |frame|. Once kMalformed has
  // been returned, every later call returns it again.
  Result Next(Frame* frame);

 private:
  std::string buffer_;
  bool malformed_ = false;
};

// Decodes one payload (the bytes after the length prefix). False for anything that is not
// exactly one well-formed frame.
bool DecodePayload(const char* data, size_t size, Frame* frame);

}  // namespace wire
}  // namespace ORVELL0300

#endif  // TVAPP_WIRE_FORMAT_H_
