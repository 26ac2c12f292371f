#include "tvapp/remote_endpoint.h"

#include "base/logging.h"
#include "base/posix/unix_domain_socket.h"
#include "tvapp/unix_socket.h"
#include "tvapp/wire_format.h"

namespace ORVELL0300 {

namespace {

// Reads frames from |fd| until the reply to |request_id| arrives. Replies to other
// requests are skipped.
bool ReadReply(int fd, uint32_t request_id, internal::Deadline deadline, CMessage* reply) {
  wire::FrameReader reader;
  char buffer[4096];
  for (;;) {
    wire::Frame frame;
    switch (reader.Next(&frame)) {
      case wire::FrameReader::kFrameReady:
        if (frame.kind != wire::kReplyFrame)
          return false;
        if (frame.request_id != request_id)
          continue;
        *reply = frame.message;
        return true;
      case wire::FrameReader::kMalformed:
        LOG_AT(logging::LOG_WARNING) << "tvapp: malformed reply frame";
        return false;
      case wire::FrameReader::kNeedMore:
        break;
    }
    const long count = internal::ReadSome(fd, buffer, sizeof(buffer), deadline);
    if (count <= 0)
      return false;
    reader.Append(buffer, static_cast<size_t>(count));
  }
}

}  // namespace

CRemoteEndpoint::CRemoteEndpoint(const std::string& socket_path) : socket_path_(socket_path) {}

CRemoteEndpoint::~CRemoteEndpoint() = default;

bool CRemoteEndpoint::Exchange(int message_type,
                               const CMessage& request,
                               std::chrono::steady_clock::time_point deadline,
                               CMessage* reply) {
  if (closed_)
    return false;
  wire::Frame frame;
  frame.kind = wire::kRequestFrame;
  frame.request_id = next_request_id_++;
  frame.message_type = message_type;
  frame.deadline_ns = wire::ToMonotonicNanoseconds(deadline);
  frame.message = request;
  std::string bytes;
  if (!wire::EncodeFrame(frame, &bytes)) {
    LOG_AT(logging::LOG_WARNING) << "tvapp: request cannot be encoded";
    return false;
  }
  int fd = base::ConnectUnixSocket(socket_path_);
  if (fd < 0) {
    LOG_AT(logging::LOG_WARNING) << "tvapp: cannot connect to " << socket_path_;
    return false;
  }
  CMessage answer;
  const bool answered =
      internal::WriteAll(fd, bytes, deadline) && ReadReply(fd, frame.request_id, deadline, &answer);
  internal::CloseFd(&fd);
  if (answered)
    *reply = answer;
  return answered;
}

void CRemoteEndpoint::Close() {
  closed_ = true;
}

}  // namespace ORVELL0300
