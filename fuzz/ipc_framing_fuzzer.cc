// Cuts arbitrary bytes into IPC messages the way a channel does: check the front of the
// stream, cut the message off, advance, until the rest is incomplete or refused. Every
// check runs on bytes that end where their heap block ends (libFuzzer's input, or an
// exact copy of a shorter part), so a look past them is reported.
//
// A complete message must lie within the bytes, be at least a header and at most the
// channel's maximum, and become a message of exactly that size; one byte less of it is
// incomplete. An incomplete one names more bytes than there are. A header is judged as
// soon as its 20 bytes are there: a refused header is refused before its payload arrives.
// A hello must give back the pid it carries.

#include <cstring>

#include "fuzz/fuzz_util.h"
#include "ipc/ipc_channel.h"
#include "ipc/ipc_message_framing.h"

namespace {

const size_t kHeaderSize = IPC::Message::kHeaderSize;

IPC::FrameStatus CheckCopy(const char* data, size_t size, size_t* message_size) {
  const std::vector<char> copy = fuzz::ExactCopy(data, size);
  return IPC::CheckFrame(copy.data(), size, message_size);
}

// Checks the message or refusal at the front of |size| bytes, which end where libFuzzer's
// input block ends; true with its size in |*message_size| when a whole message is there.
bool CheckFront(const char* data, size_t size, size_t* message_size) {
  const IPC::FrameStatus status = IPC::CheckFrame(data, size, message_size);
  if (size < kHeaderSize) {
    CHECK(status == IPC::FRAME_INCOMPLETE);
    return false;
  }
  size_t header_only_size = 0;
  const IPC::FrameStatus header_only = CheckCopy(data, kHeaderSize, &header_only_size);
  CHECK((status == IPC::FRAME_TOO_LARGE) == (header_only == IPC::FRAME_TOO_LARGE));
  CHECK((status == IPC::FRAME_HAS_FDS) == (header_only == IPC::FRAME_HAS_FDS));
  if (status == IPC::FRAME_INCOMPLETE) {
    // Only a message that needs more bytes than there are waits for them.
    IPC::Message::Header header;
    std::memcpy(&header, data, kHeaderSize);
    CHECK(header.payload_size > size - kHeaderSize);
  }
  if (status != IPC::FRAME_COMPLETE)
    return false;

  CHECK(*message_size >= kHeaderSize && *message_size <= size);
  CHECK(*message_size <= IPC::Channel::kMaximumMessageSize);
  size_t unused = 0;
  CHECK(CheckCopy(data, *message_size - 1, &unused) == IPC::FRAME_INCOMPLETE);
  const std::vector<char> bytes = fuzz::ExactCopy(data, *message_size);
  const IPC::Message message(bytes.data(), static_cast<int>(*message_size));
  CHECK(message.size() == *message_size);
  CHECK(message.num_fds() == 0);
  int32_t pid = 0;
  if (IPC::IsHelloMessage(message))
    IPC::ReadHelloPid(message, &pid);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
  const char* data = reinterpret_cast<const char*>(bytes);
  size_t offset = 0;
  size_t message_size = 0;
  while (CheckFront(data + offset, size - offset, &message_size))
    offset += message_size;
  return 0;
}
