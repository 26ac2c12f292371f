// Feeds arbitrary bytes to the TV application framework's frame reader as a stream from a
// socket: once in one piece and once in slices of 1 to 8 bytes (the input's length picks
// the slice), so that frames are also met cut at every offset. Both must take out the same frames
// and stop the same way; each frame must encode back to exactly the bytes it came from; and where
// the reader stops, the bytes left must not hold a whole frame (waiting for more) or must hold a
// bad one (malformed, for good).

#include <algorithm>

#include "fuzz/fuzz_util.h"
#include "tvapp/wire_format.h"

namespace {

namespace wire = ORVELL0300::wire;

// What a reader made of a stream: the frames it took out, each encoded again, and its
// last answer.
struct Outcome {
  std::vector<std::string> frames;
  wire::FrameReader::Result last = wire::FrameReader::kNeedMore;
};

Outcome ReadInSlices(const char* data, size_t size, size_t slice) {
  wire::FrameReader reader;
  Outcome outcome;
  for (size_t offset = 0; offset < size; offset += slice) {
    const bool malformed = outcome.last == wire::FrameReader::kMalformed;
    reader.Append(data + offset, std::min(slice, size - offset));
    wire::Frame frame;
    while ((outcome.last = reader.Next(&frame)) == wire::FrameReader::kFrameReady) {
      outcome.frames.emplace_back();
      CHECK(wire::EncodeFrame(frame, &outcome.frames.back()));
    }
    CHECK(!malformed || outcome.last == wire::FrameReader::kMalformed);
  }
  return outcome;
}

uint32_t LengthPrefix(const char* data) {
  uint32_t size = 0;
  for (size_t i = wire::kLengthPrefixSize; i-- > 0;)
    size = size << 8 | static_cast<uint8_t>(data[i]);
  return size;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const char* data = reinterpret_cast<const char*>(bytes);
  const Outcome whole = ReadInSlices(data, size, std::max<size_t>(size, 1));
  const Outcome sliced = ReadInSlices(data, size, 1 + size % 8);
  CHECK(whole.frames == sliced.frames);
  CHECK(whole.last == sliced.last);

  size_t offset = 0;
  for (const std::string& frame : whole.frames) {
    CHECK(std::string(data + offset, std::min(frame.size(), size - offset)) == frame);
    const std::vector<char> payload = fuzz::ExactCopy(frame.data() + wire::kLengthPrefixSize,
                                                      frame.size() - wire::kLengthPrefixSize);
    wire::Frame again;
    CHECK(wire::DecodePayload(payload.data(), payload.size(), &again));
    offset += frame.size();
  }

  const size_t left = size - offset;
  const uint32_t next_size = left < wire::kLengthPrefixSize ? 0 : LengthPrefix(data + offset);
  const bool whole_next = left >= wire::kLengthPrefixSize && next_size <= wire::kMaxPayloadSize &&
                          left - wire::kLengthPrefixSize >= next_size;
  if (whole.last == wire::FrameReader::kNeedMore) {
    CHECK(!whole_next);
    return 0;
  }
  CHECK(left >= wire::kLengthPrefixSize);
  if (next_size <= wire::kMaxPayloadSize) {
    CHECK(whole_next);
    const std::vector<char> payload =
        fuzz::ExactCopy(data + offset + wire::kLengthPrefixSize, next_size);
    wire::Frame frame;
    CHECK(!wire::DecodePayload(payload.data(), payload.size(), &frame));
  }
  return 0;
}
