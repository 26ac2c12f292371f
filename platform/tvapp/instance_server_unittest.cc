#include "tvapp/instance_server.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <string>
#include <thread>

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

bool Exists(const std::string& path) {
  struct stat status;
  return lstat(path.c_str(), &status) == 0;
}

// Reads until the peer closes the connection; false when it does not within 3 s.
bool ClosedByPeer(int fd) {
  char buffer[256];
  long count;
  while ((count = internal::ReadSome(fd, buffer, sizeof(buffer), InSeconds(3))) > 0) {
  }
  return count == 0;
}

class InstanceServerTest : public testing::Test {
 protected:
  void SetUp() override { socket_path_ = dir_.Path("app.sock"); }
  void TearDown() override {
    CInstanceDirectory::GetInstance()->RemoveInstance("remote");
    application()->SetReplyTimeLimit(kDefaultReplyTimeLimit);
  }

  static CApplicationBase* application() { return CQueryHandle::GetApplication(); }

  int SendToRemote(const CMessage& request, CMessage* reply, int message_type = kMessageTypeQuery) {
    CInstanceDirectory* directory = CInstanceDirectory::GetInstance();
    if (directory->GetInstanceID("remote") == kInvalidInstanceID)
      directory->AddRemoteInstance("remote", socket_path_);
    return application()->SendMessage(message_type, directory->GetInstanceID("remote"), request,
                                      *reply);
  }

  ScopedSocketDir dir_;
  std::string socket_path_;
  EchoApplication echo_;
};

TEST_F(InstanceServerTest, RequestsAndRepliesCrossTheSocket) {
  CInstanceServer server(&echo_);
  std::string error;
  ASSERT_TRUE(server.Start(socket_path_, &error)) << error;
  CMessage reply;
  ASSERT_NE(0, SendToRemote(Echo::Request("over there"), &reply, -12));
  EXPECT_EQ("over there", Echo::EchoOf(reply));
  long type = 0;
  EXPECT_NE(0, reply.Query(Utf8("type"), type));
  EXPECT_EQ(-12, type);
  server.Stop();
  EXPECT_FALSE(Exists(socket_path_));
  EXPECT_EQ(0, SendToRemote(Echo::Request("gone"), &reply));
  EXPECT_EQ(std::vector<std::string>{"over there"}, echo_.received());
}

// A server written against the bare socket: it reads one request and answers with
// whatever bytes the test makes from the request's id.
class FakeServer {
 public:
  typedef std::function<std::string(uint32_t request_id)> Answer;

  FakeServer(const std::string& path, Answer answer) : answer_(std::move(answer)) {
    sockaddr_un address;
    socklen_t length = 0;
    base::FillUnixAddress(path, &address, &length);
    listen_fd_ = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(0, bind(listen_fd_, reinterpret_cast<sockaddr*>(&address), length));
    EXPECT_EQ(0, listen(listen_fd_, 1));
    thread_ = std::thread(&FakeServer::Serve, this);
  }
  ~FakeServer() {
    if (thread_.joinable())
      thread_.join();
    internal::CloseFd(&listen_fd_);
  }

  // The request as read, once the server has answered it.
  const wire::Frame& request() {
    if (thread_.joinable())
      thread_.join();
    return request_;
  }

 private:
  void Serve() {
    int fd = accept4(listen_fd_, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    wire::FrameReader reader;
    char buffer[512];
    long count;
    while (reader.Next(&request_) == wire::FrameReader::kNeedMore &&
           (count = internal::ReadSome(fd, buffer, sizeof(buffer), InSeconds(3))) > 0) {
      reader.Append(buffer, static_cast<size_t>(count));
    }
    internal::WriteAll(fd, answer_(request_.request_id), InSeconds(3));
    internal::CloseFd(&fd);
  }

  Answer answer_;
  wire::Frame request_;
  int listen_fd_ = -1;
  std::thread thread_;
};

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
    FakeServer::Answer answer;
    const char* expected_echo;
  } rows[] = {
      // A reply to another request first, then its own.
      {[](uint32_t id) { return ReplyBytes(id + 1, "other") + ReplyBytes(id, "mine"); }, "mine"},
      // Only a reply to another request.
      {[](uint32_t id) { return ReplyBytes(id - 1, "other"); }, nullptr},
      // A request instead of a reply.
      {[](uint32_t id) { return ReplyBytes(id, "mine", wire::kRequestFrame); }, nullptr},
      {[](uint32_t) { return std::string("\x05\x00\x00\x00\x09garbage", 12); }, nullptr},
      // Half a reply, then the end.
      {[](uint32_t id) { return ReplyBytes(id, "mine").substr(0, 9); }, nullptr},
      // Nothing, then the end.
      {[](uint32_t) { return std::string(); }, nullptr},
  };
  for (size_t i = 0; i < std::size(rows); ++i) {
    SCOPED_TRACE(i);
    CMessage reply;
    {
      FakeServer server(socket_path_, rows[i].answer);
      const uint64_t earliest =
          wire::ToMonotonicNanoseconds(std::chrono::steady_clock::now() + kDefaultReplyTimeLimit);
      const int sent = SendToRemote(Echo::Request("question"), &reply);
      const uint64_t latest =
          wire::ToMonotonicNanoseconds(std::chrono::steady_clock::now() + kDefaultReplyTimeLimit);
      // The request carries the moment its sender gives up.
      EXPECT_LE(earliest, server.request().deadline_ns);
      EXPECT_GE(latest, server.request().deadline_ns);
      EXPECT_EQ(rows[i].expected_echo != nullptr, sent != 0);
      if (rows[i].expected_echo)
        EXPECT_EQ(rows[i].expected_echo, Echo::EchoOf(reply));
      else
        EXPECT_EQ(0, reply.NumOfQuery());
    }
    unlink(socket_path_.c_str());
  }
}

TEST_F(InstanceServerTest, ServerDropsMalformedConnectionsAndServesOthers) {
  CInstanceServer server(&echo_);
  std::string error;
  ASSERT_TRUE(server.Start(socket_path_, &error)) << error;
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
    EXPECT_TRUE(ClosedByPeer(fd));
    internal::CloseFd(&fd);
  }
  CMessage reply;
  ASSERT_NE(0, SendToRemote(Echo::Request("still served"), &reply));
  EXPECT_EQ("still served", Echo::EchoOf(reply));
  EXPECT_EQ(std::vector<std::string>{"still served"}, echo_.received());
  internal::CloseFd(&idle);
}

TEST_F(InstanceServerTest, StopRemovesOnlyItsOwnSocketFile) {
  std::string error;
  CInstanceServer first(&echo_);
  ASSERT_TRUE(first.Start(socket_path_, &error)) << error;
  CInstanceServer successor(&echo_);
  ASSERT_TRUE(successor.Start(socket_path_, &error)) << error;
  first.Stop();
  CMessage reply;
  ASSERT_NE(0, SendToRemote(Echo::Request("successor"), &reply));
  EXPECT_EQ("successor", Echo::EchoOf(reply));
  successor.Stop();
  EXPECT_FALSE(Exists(socket_path_));
  EXPECT_FALSE(first.Start(dir_.Path(std::string(120, 'x')), &error));
}

}  // namespace
}  // namespace ORVELL0300
