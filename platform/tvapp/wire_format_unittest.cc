#include "tvapp/wire_format.h"

#include <time.h>

#include <algorithm>
#include <limits>
#include <string>

#include "gtest/gtest.h"
#include "tvapp/test/echo_application.h"

namespace ORVELL0300 {
namespace wire {
namespace {

// The smallest useful request, byte for byte as docs/tvapp-transport.md lays it out.
const char kGoldenRequest[] =
    "\x23\x00\x00\x00"                  // payload size 35
    "\x03"                              // request
    "\x07\x00\x00\x00"                  // request id 7
    "\x38\x51\x00\x00"                  // message type 20792
    "\x00\xca\x9a\x3b\x00\x00\x00\x00"  // deadline: 1 s of CLOCK_MONOTONIC
    "\x02\x01\x00\x00\x00n"             // name "n", UTF-8
    "\x01\x00\x00\x00"                  // one entry
    "\x02\x01\x00\x00\x00\x62"          // key "b"
    "\x05\x01";                         // bool true

TEST(WireFormatTest, FramesCrossInTheDocumentedLayoutInAnySlicing) {
  Frame request;
  request.request_id = 7;
  request.message_type = 20792;
  request.deadline_ns = 1000000000;
  request.message.SetName(Utf8("n"));
  request.message.MakeResult(Utf8("b"), true);
  std::string bytes;
  ASSERT_TRUE(EncodeFrame(request, &bytes));
  EXPECT_EQ(std::string(kGoldenRequest, sizeof(kGoldenRequest) - 1), bytes);
  // A reply with every value type and the largest request id follows.
  Frame reply;
  reply.kind = kReplyFrame;
  reply.request_id = 0xfffffffe;
  reply.message_type = -3;
  reply.message.SetName(Utf8("caf\xc3\xa9"));
  reply.message.MakeResult(Utf8("s"), Utf8(""));
  reply.message.MakeResult(Utf8("t"), "text");
  reply.message.MakeResult(Utf8("l"), -2147483647L - 1);
  reply.message.MakeResult(Utf8("f"), -0.25f);
  reply.message.MakeResult(Utf8("b"), false);
  reply.message.MakeResult(Utf8(""), true);
  ASSERT_TRUE(EncodeFrame(reply, &bytes));
  // Whole, and one byte at a time: each frame read encodes back to the bytes it came from.
  for (size_t slice : {bytes.size(), size_t{1}}) {
    SCOPED_TRACE(slice);
    FrameReader reader;
    std::string again;
    for (size_t offset = 0; offset < bytes.size(); offset += slice) {
      reader.Append(bytes.data() + offset, std::min(slice, bytes.size() - offset));
      Frame decoded;
      FrameReader::Result result;
      while ((result = reader.Next(&decoded)) == FrameReader::kFrameReady)
        ASSERT_TRUE(EncodeFrame(decoded, &again));
      ASSERT_EQ(FrameReader::kNeedMore, result);
    }
    EXPECT_EQ(bytes, again);
  }
}

// Payload mutations that a reader must refuse. Each starts from the golden request.
struct MalformedRow {
  const char* what;
  size_t offset;  // where |bytes| overwrite the golden frame
  std::string bytes;
  int size_change;  // bytes added to (or, negative, cut from) the end; the size prefix
                    // follows, so the frame looks complete
};

const MalformedRow kMalformedRows[] = {
    {"payload size over the limit", 0, std::string("\x01\x00\x01\x00", 4), 0},
    {"kind 1, the request without a deadline", 4, "\x01", 0},
    {"a reply laid out as a request, with a deadline", 4, "\x02", 0},
    {"encoding other than UTF-8", 21, "\x01", 0},
    {"NUL inside a text", 26, std::string("\0", 1), 0},
    {"text size past the end", 22, "\x40", 0},
    {"more entries than present", 27, "\x02", 0},
    {"unknown value type", 37, "\x06", 0},
    {"bool other than 0 or 1", 38, "\x02", 0},
    {"payload ends inside the last value", 0, "", -1},
    {"trailing byte", 0, "", 1},
};

std::string Mutate(const MalformedRow& row) {
  std::string bytes(kGoldenRequest, sizeof(kGoldenRequest) - 1);
  if (row.size_change > 0)
    bytes.append(static_cast<size_t>(row.size_change), '\0');
  else
    bytes.resize(bytes.size() - static_cast<size_t>(-row.size_change));
  bytes[0] = static_cast<char>(bytes.size() - kLengthPrefixSize);
  bytes.replace(row.offset, row.bytes.size(), row.bytes);
  return bytes;
}

TEST(WireFormatTest, ReaderRefusesMalformedFramesForGood) {
  for (const MalformedRow& row : kMalformedRows) {
    SCOPED_TRACE(row.what);
    const std::string bytes = Mutate(row);
    Frame frame;
    FrameReader reader;
    reader.Append(bytes.data(), bytes.size());
    EXPECT_EQ(FrameReader::kMalformed, reader.Next(&frame));
    reader.Append(kGoldenRequest, sizeof(kGoldenRequest) - 1);
    EXPECT_EQ(FrameReader::kMalformed, reader.Next(&frame));
  }
}

int64_t MonotonicNow() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<int64_t>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

TEST(WireFormatTest, DeadlinesCrossAsMonotonicTime) {
  // Five seconds from the moment of the call, on the clock both sides share.
  const int64_t before = MonotonicNow();
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  const int64_t sent = static_cast<int64_t>(ToMonotonicNanoseconds(deadline));
  const int64_t after = MonotonicNow();
  EXPECT_LE(before + 5000000000, sent);
  EXPECT_GE(after + 5000000000, sent);
  // A deadline from a peer that no clock reaches does not wrap around into the past.
  EXPECT_EQ(std::chrono::steady_clock::time_point::max(),
            FromMonotonicNanoseconds(std::numeric_limits<uint64_t>::max()));
}

TEST(WireFormatTest, EncoderRefusesWhatNoReaderWouldTake) {
  std::string bytes = "kept";
  Frame oversized;
  oversized.message.MakeResult(Utf8("big"), std::string(kMaxPayloadSize, 'x').c_str());
  EXPECT_FALSE(EncodeFrame(oversized, &bytes));

  Frame with_nul;
  with_nul.message.MakeResult(Utf8("k"),
                              OCString(std::string("a\0b", 3), OCString::kTextEncodingUtf8));
  EXPECT_FALSE(EncodeFrame(with_nul, &bytes));
  EXPECT_EQ("kept", bytes);
}

}  // namespace
}  // namespace wire
}  // namespace ORVELL0300
