#include "tvapp/instance_server.h"

#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <future>
#include <string>

#include "base/posix/unix_domain_socket.h"
#include "gtest/gtest.h"
#include "tvapp/application_base.h"
#include "tvapp/instance_directory.h"
#include "tvapp/query_handle.h"
#include "tvapp/test/echo_application.h"
#include "tvapp/test/scoped_socket_dir.h"
#include "tvapp/unix_socket.h"
#include "tvapp/wire_format.h"

namespace ORVELL0300 {
namespace {

using Echo = EchoApplication;

internal::Deadline InSeconds(int seconds) {
  return std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
}

class InstanceServerTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(CInstanceDirectory::GetInstance()->AddRemoteInstance("remote", socket_path_));
  }
  void TearDown() override { CInstanceDirectory::GetInstance()->RemoveInstance("remote"); }

  int Send(const CMessage& request, CMessage* reply, int message_type = kMessageTypeQuery) {
    return CQueryHandle::GetApplication()->SendMessage(
        message_type, CInstanceDirectory::GetInstance()->GetInstanceID("remote"), request, *reply);
  }

  ScopedSocketDir dir_;
  const std::string socket_path_ = dir_.Path("app.sock");
  EchoApplication echo_;
};

// A server written against the bare socket at |path|: it reads one request and answers
// with whatever bytes |answer| makes from the request's id. The future holds the request.
typedef std::function<std::string(uint32_t request_id)> Answer;
std::future<wire::Frame> ServeOnce(const std::string& path, Answer answer) {
  sockaddr_un address;
  socklen_t length = 0;
  base::FillUnixAddress(path, &address, &length);
  int listen_fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_EQ(0, bind(listen_fd, reinterpret_cast<sockaddr*>(&address), length));
  EXPECT_EQ(0, listen(listen_fd, 1));
  return std::async(std::launch::async, [listen_fd, path, answer]() mutable {
    int fd = accept4(listen_fd, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    wire::FrameReader reader;
    wire::Frame request;
    char buffer[512];
    long count;
    while (reader.Next(&request) == wire::FrameReader::kNeedMore &&
           (count = internal::ReadSome(fd, buffer, sizeof(buffer), InSeconds(3))) > 0) {
      reader.Append(buffer, static_cast<size_t>(count));
    }
    internal::WriteAll(fd, answer(request.request_id), InSeconds(3));
    internal::CloseFd(&fd);
    internal::CloseFd(&listen_fd);
    unlink(path.c_str());
    return request;
  });
}

std::string ReplyBytes(uint32_t request_id,
                       const char* echo,
                       wire::FrameKind kind = wire::kReplyFrame) {
  wire::Frame frame;
  frame.kind = kind;
  frame.request_id = request_id;
  frame.message.MakeResult(Utf8("echo"), Utf8(echo));
  std::string bytes;
  wire::EncodeFrame(frame, &bytes);
  return bytes;
}

TEST_F(InstanceServerTest, ClientTakesOnlyTheWellFormedReplyToItsOwnRequest) {
  // What the server answers to the request |id|, and the echo the client takes from it
  // (null: SendMessage must fail).
  const struct {
    Answer answer;
    const char* expected_echo;
  } rows[] = {
      // A reply to another request first, then its own.
      {[](uint32_t id) { return ReplyBytes(id + 1, "other") + ReplyBytes(id, "mine"); }, "mine"},
      // A request instead of a reply.
      {[](uint32_t id) { return ReplyBytes(id, "mine", wire::kRequestFrame); }, nullptr},
      {[](uint32_t) { return std::string("\x05\x00\x00\x00\x09garbage", 12); }, nullptr},
      // Half a reply, then the end.
      {[](uint32_t id) { return ReplyBytes(id, "mine").substr(0, 9); }, nullptr},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    CMessage reply;
    auto server = ServeOnce(socket_path_, rows[i].answer);
    const uint64_t earliest =
        wire::ToMonotonicNanoseconds(std::chrono::steady_clock::now() + kDefaultReplyTimeLimit);
    const int sent = Send(Echo::Request("question"), &reply);
    const uint64_t latest =
        wire::ToMonotonicNanoseconds(std::chrono::steady_clock::now() + kDefaultReplyTimeLimit);
    // The request carries the moment its sender gives up.
    const uint64_t deadline = server.get().deadline_ns;
    EXPECT_LE(earliest, deadline);
    EXPECT_GE(latest, deadline);
    EXPECT_EQ(rows[i].expected_echo != nullptr, sent != 0);
    if (rows[i].expected_echo)
      EXPECT_EQ(rows[i].expected_echo, Echo::EchoOf(reply));
    else
      EXPECT_EQ(0, reply.NumOfQuery());
  }
}

TEST_F(InstanceServerTest, ServerAnswersDropsMalformedConnectionsAndRemovesOnlyItsOwnSocket) {
  std::string error;
  CInstanceServer first(&echo_);
  ASSERT_TRUE(first.Start(socket_path_, &error)) << error;
  CInstanceServer successor(&echo_);
  ASSERT_TRUE(successor.Start(socket_path_, &error)) << error;
  first.Stop();
  CMessage reply;
  ASSERT_NE(0, Send(Echo::Request("over there"), &reply, -12));
  EXPECT_EQ("over there", Echo::EchoOf(reply));
  long type = 0;
  EXPECT_NE(0, reply.Query(Utf8("type"), type));
  EXPECT_EQ(-12, type);
  // A client that sends half a frame and waits does not hold the others up.
  int idle = base::ConnectUnixSocket(socket_path_);
  ASSERT_GE(idle, 0);
  ASSERT_TRUE(internal::WriteAll(idle, std::string("\x10\x00", 2), InSeconds(3)));
  const std::string bad_requests[] = {
      std::string("\xff\xff\xff\xff", 4),      // size far over the limit
      std::string("\x01\x00\x00\x00\x07", 5),  // unknown frame kind
      ReplyBytes(1, "not a request"),
  };
  for (const std::string& bytes : bad_requests) {
    int fd = base::ConnectUnixSocket(socket_path_);
    ASSERT_GE(fd, 0);
    ASSERT_TRUE(internal::WriteAll(fd, bytes, InSeconds(3)));
    // The server closes the connection: the reads end in 0, not in the 3 s timeout.
    char buffer[256];
    long count;
    while ((count = internal::ReadSome(fd, buffer, sizeof(buffer), InSeconds(3))) > 0) {
    }
    EXPECT_EQ(0, count);
    internal::CloseFd(&fd);
  }
  ASSERT_NE(0, Send(Echo::Request("still served"), &reply));
  internal::CloseFd(&idle);
  successor.Stop();
  EXPECT_NE(0, access(socket_path_.c_str(), F_OK));
  EXPECT_EQ(0, Send(Echo::Request("gone"), &reply));
  EXPECT_EQ((std::vector<std::string>{"over there", "still served"}), echo_.received());
  EXPECT_FALSE(first.Start(dir_.Path(std::string(120, 'x')), &error));
}

}  // namespace
}  // namespace ORVELL0300
