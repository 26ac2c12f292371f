// An in-process instance whose handler answers without blocking, used from many threads:
// on a sender's thread or on the framework's, the handler runs one message at a time, and
// Close() waits for it. Run under ThreadSanitizer in CI (CTest label "concurrency").

#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "base/test/blocked_thread.h"
#include "gtest/gtest.h"
#include "tvapp/application_base.h"
#include "tvapp/local_endpoint.h"
#include "tvapp/test/echo_application.h"

namespace ORVELL0300 {
namespace {

bool Send(CLocalEndpoint* endpoint, const CMessage& request, std::string* echo) {
  CMessage reply;
  const bool answered =
      endpoint->Exchange(kMessageTypeQuery, request,
                         std::chrono::steady_clock::now() + std::chrono::seconds(30), &reply);
  *echo = EchoApplication::EchoOf(reply);
  return answered;
}

// An echo that answers without blocking and notes whether two of its calls overlapped and
// on which thread the last one ran.
class WatchedEcho : public EchoApplication {
 public:
  WatchedEcho() { SetAnswersWithoutBlocking(true); }
  bool OnMessage(int type, const CMessage& request, Deadline deadline, CMessage* reply) override {
    if (running_.fetch_add(1) != 0)
      overlapped_ = true;
    thread_ = std::this_thread::get_id();
    std::this_thread::yield();  // widens the window for an overlapping call
    const bool answered = EchoApplication::OnMessage(type, request, deadline, reply);
    running_.fetch_sub(1);
    return answered;
  }

  std::atomic<int> running_{0};
  std::atomic<bool> overlapped_{false};
  std::atomic<std::thread::id> thread_;
};

TEST(LocalEndpointConcurrencyTest, HandlerRunsOneMessageAtATimeAndCloseWaitsForIt) {
  WatchedEcho application;
  CLocalEndpoint endpoint(&application);
  std::atomic<int> wrong_replies{0};
  std::vector<std::thread> senders;
  for (int i = 0; i < 4; ++i) {
    senders.emplace_back([&endpoint, &wrong_replies, i] {
      for (int n = 0; n < 300; ++n) {
        const std::string name = std::to_string(i) + "/" + std::to_string(n);
        std::string echo;
        if (!Send(&endpoint, EchoApplication::Request(name), &echo) || echo != name)
          ++wrong_replies;
      }
    });
  }
  for (auto& sender : senders)
    sender.join();
  EXPECT_EQ(0, wrong_replies.load());
  EXPECT_FALSE(application.overlapped_.load());

  // Close() while the handler holds a message on its sender's thread.
  std::string echo;
  auto sent = std::async(std::launch::async, [&endpoint, &echo] {
    const bool answered = Send(&endpoint, EchoApplication::Request("held", true), &echo);
    return std::make_pair(answered, std::this_thread::get_id());
  });
  while (application.received().size() <= 4 * 300)
    std::this_thread::yield();
  std::promise<pid_t> closer;
  auto closed = std::async(std::launch::async, [&endpoint, &application, &closer] {
    closer.set_value(base::test::CurrentThreadId());
    endpoint.Close();
    return application.running_.load();
  });
  base::test::WaitUntilBlocked(closer.get_future().get());  // in Close(), or done too soon
  application.Release();
  EXPECT_EQ(0, closed.get());  // Close() returned only once the handler had returned
  const auto result = sent.get();
  EXPECT_TRUE(result.first);  // and its answer was taken
  EXPECT_EQ(result.second, application.thread_.load());
  EXPECT_FALSE(Send(&endpoint, EchoApplication::Request("after"), &echo));
}

}  // namespace
}  // namespace ORVELL0300
