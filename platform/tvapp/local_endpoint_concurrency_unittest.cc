// An in-process instance whose handler answers without blocking, used from many threads:
// on a sender's thread or on the framework's, the handler runs one message at a time, and
// Close() waits for it. Run under ThreadSanitizer in CI (CTest label "concurrency").

#include <atomic>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "base/synchronization/waitable_event.h"
#include "gtest/gtest.h"
#include "tvapp/application_base.h"
#include "tvapp/local_endpoint.h"
#include "tvapp/message_handler.h"

namespace ORVELL0300 {
namespace {

OCString Utf8(const std::string& text) {
  return OCString(text, OCString::kTextEncodingUtf8);
}

bool Send(CLocalEndpoint* endpoint, const std::string& name, std::string* echo) {
  CMessage request;
  request.SetName(Utf8(name));
  CMessage reply;
  OCString answer;
  const bool answered =
      endpoint->Exchange(kMessageTypeQuery, request,
                         std::chrono::steady_clock::now() + std::chrono::seconds(30), &reply);
  *echo = reply.Query(Utf8("echo"), answer) ? answer.text() : "";
  return answered;
}

// Echoes each request's name. When |hold| is set, the first call waits for it to be
// signalled; every call notes whether it overlapped another and on which thread it ran.
class NonBlockingApplication : public CMessageHandler {
 public:
  bool OnMessage(int, const CMessage& request, Deadline, CMessage* reply) override {
    if (running_.fetch_add(1) != 0)
      overlapped_ = true;
    thread_ = std::this_thread::get_id();
    if (hold_ && !entered_.IsSignaled()) {
      entered_.Signal();
      hold_->Wait();
    }
    std::this_thread::yield();  // widens the window for an overlapping call
    reply->MakeResult(Utf8("echo"), request.GetName());
    running_.fetch_sub(1);
    return true;
  }
  bool AnswersWithoutBlocking() const override { return true; }

  base::WaitableEvent* hold_ = nullptr;
  base::WaitableEvent entered_{true, false};
  std::atomic<int> running_{0};
  std::atomic<bool> overlapped_{false};
  std::atomic<std::thread::id> thread_;
};

TEST(LocalEndpointConcurrencyTest, HandlerRunsOneMessageAtATimeOnWhicheverThread) {
  NonBlockingApplication application;
  CLocalEndpoint endpoint(&application);
  std::atomic<int> wrong_replies{0};
  std::vector<std::thread> senders;
  for (int i = 0; i < 4; ++i) {
    senders.emplace_back([&endpoint, &wrong_replies, i] {
      for (int n = 0; n < 300; ++n) {
        const std::string name = std::to_string(i) + "/" + std::to_string(n);
        std::string echo;
        if (!Send(&endpoint, name, &echo) || echo != name)
          ++wrong_replies;
      }
    });
  }
  for (auto& sender : senders)
    sender.join();
  EXPECT_EQ(0, wrong_replies.load());
  EXPECT_FALSE(application.overlapped_.load());
}

TEST(LocalEndpointConcurrencyTest, CloseWaitsForTheHandlerRunningOnTheSendersThread) {
  base::WaitableEvent release(true, false);
  NonBlockingApplication application;
  application.hold_ = &release;
  CLocalEndpoint endpoint(&application);
  std::string echo;
  auto sent = std::async(std::launch::async, [&endpoint, &echo] {
    return std::make_pair(Send(&endpoint, "held", &echo), std::this_thread::get_id());
  });
  application.entered_.Wait();
  auto closed = std::async(std::launch::async, [&endpoint, &application] {
    endpoint.Close();
    return application.running_.load();
  });
  EXPECT_EQ(std::future_status::timeout, closed.wait_for(std::chrono::milliseconds(50)));
  release.Signal();
  EXPECT_EQ(0, closed.get());  // Close() returned only once the handler had returned
  const auto result = sent.get();
  EXPECT_TRUE(result.first);  // and its answer was taken
  EXPECT_EQ(result.second, application.thread_.load());
  EXPECT_FALSE(Send(&endpoint, "after", &echo));
}

}  // namespace
}  // namespace ORVELL0300
