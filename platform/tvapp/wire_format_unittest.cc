#include "tvapp/wire_format.h"

#include <time.h>

#include <limits>
#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "tvapp/test/echo_application.h"

namespace ORVELL0300 {
namespace wire {
namespace {

Frame FrameWithEveryType() {
  Frame frame;
  frame.kind = kReplyFrame;
  frame.request_id = 0xfffffffe;
  frame.message_type = -3;
  frame.message.SetName(Utf8("caf\xc3\xa9"));
  frame.message.MakeResult(Utf8("s"), Utf8(""));
  frame.message.MakeResult(Utf8("t"), "text");
  frame.message.MakeResult(Utf8("l"), -2147483647L - 1);
  frame.message.MakeResult(Utf8("f"), -0.25f);
  frame.message.MakeResult(Utf8("b"), false);
  frame.message.MakeResult(Utf8(""), true);
  return frame;
}

void ExpectSameFrame(const Frame& expected, const Frame& actual) {
  EXPECT_EQ(expected.kind, actual.kind);
  EXPECT_EQ(expected.request_id, actual.request_id);
  EXPECT_EQ(expected.message_type, actual.message_type);
  EXPECT_EQ(expected.deadline_ns, actual.deadline_ns);
  EXPECT_EQ(expected.message, actual.message);
}

TEST(WireFormatTest, FramesSurviveTheTripInAnySlicing) {
  const Frame reply = FrameWithEveryType();
  Frame request = FrameWithEveryType();
  request.kind = kRequestFrame;
  request.deadline_ns = 0xfedcba9876543210;
  std::string bytes;
  ASSERT_TRUE(EncodeFrame(request, &bytes));
  ASSERT_TRUE(EncodeFrame(reply, &bytes));  // two frames back to back
  for (size_t slice : {bytes.size(), size_t{1}, size_t{5}}) {
    SCOPED_TRACE(slice);
    FrameReader reader;
    std::vector<Frame> frames;
    for (size_t offset = 0; offset < bytes.size(); offset += slice) {
      reader.Append(bytes.data() + offset, std::min(slice, bytes.size() - offset));
      Frame decoded;
      FrameReader::Result result;
      while ((result = reader.Next(&decoded)) == FrameReader::kFrameReady)
        frames.push_back(decoded);
      ASSERT_EQ(FrameReader::kNeedMore, result);
    }
    ASSERT_EQ(2u, frames.size());
    ExpectSameFrame(request, frames[0]);
    ExpectSameFrame(reply, frames[1]);
  }
}

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

TEST(WireFormatTest, RequestBytesFollowTheDocumentedLayout) {
  Frame frame;
  frame.request_id = 7;
  frame.message_type = 20792;
  frame.deadline_ns = 1000000000;
  frame.message.SetName(Utf8("n"));
  frame.message.MakeResult(Utf8("b"), true);
  std::string bytes;
  ASSERT_TRUE(EncodeFrame(frame, &bytes));
  EXPECT_EQ(std::string(kGoldenRequest, sizeof(kGoldenRequest) - 1), bytes);
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
    const bool payload_changed = row.offset >= kLengthPrefixSize || row.size_change != 0;
    if (payload_changed) {
      EXPECT_FALSE(DecodePayload(bytes.data() + kLengthPrefixSize, bytes.size() - kLengthPrefixSize,
                                 &frame));
    }
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
  // Back again it is off by no more than the time the two conversions took.
  const auto start = std::chrono::steady_clock::now();
  const auto back = FromMonotonicNanoseconds(static_cast<uint64_t>(sent));
  const auto took =
      std::chrono::steady_clock::now() - start + std::chrono::nanoseconds(after - before);
  EXPECT_GE(back, deadline);
  EXPECT_LE(back - deadline, took);
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

  Frame other_encoding;
  other_encoding.message.SetName(OCString("n", static_cast<OCString::ETextEncoding>(1)));
  EXPECT_FALSE(EncodeFrame(other_encoding, &bytes));
  EXPECT_EQ("kept", bytes);
}

}  // namespace
}  // namespace wire
}  // namespace ORVELL0300
