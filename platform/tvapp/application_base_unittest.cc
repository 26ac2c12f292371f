#include "tvapp/application_base.h"

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "base/test/blocked_thread.h"
#include "gtest/gtest.h"
#include "tvapp/instance_directory.h"
#include "tvapp/query_handle.h"
#include "tvapp/test/echo_application.h"

namespace ORVELL0300 {
namespace {

using Echo = EchoApplication;

class ApplicationBaseTest : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(directory()->AddLocalInstance("echo", &echo_));
    id_ = directory()->GetInstanceID("echo");
  }
  void TearDown() override {
    echo_.Release(2);  // nothing stays held when a test ends early
    directory()->RemoveInstance("echo");
    application()->SetReplyTimeLimit(kDefaultReplyTimeLimit);
  }

  static CInstanceDirectory* directory() { return CInstanceDirectory::GetInstance(); }
  static CApplicationBase* application() { return CQueryHandle::GetApplication(); }

  int Send(const CMessage& request, CMessage* reply) {
    return application()->SendMessage(kMessageTypeQuery, id_, request, *reply);
  }

  EchoApplication echo_;
  int id_ = kInvalidInstanceID;
};

TEST_F(ApplicationBaseTest, DirectoryRegistersEachNameOnceAndStaleIdsReachNothing) {
  EXPECT_FALSE(directory()->AddLocalInstance("echo", &echo_));
  EXPECT_FALSE(directory()->AddRemoteInstance("far", "/tmp/" + std::string(200, 'x')));
  EXPECT_EQ(kInvalidInstanceID, directory()->GetInstanceID("Echo"));
  application()->SetReplyTimeLimit(std::chrono::milliseconds(-5));
  EXPECT_EQ(std::chrono::milliseconds(0), application()->GetReplyTimeLimit());
  // A new registration of the same name gets a new id; the old id reaches nothing, and
  // a failed send leaves the reply as it was.
  CMessage reply;
  reply.MakeResult(Utf8("kept"), true);
  const CMessage before = reply;
  ASSERT_TRUE(directory()->RemoveInstance("echo"));
  ASSERT_TRUE(directory()->AddLocalInstance("echo", &echo_));
  EXPECT_NE(id_, directory()->GetInstanceID("echo"));
  EXPECT_EQ(0, Send(Echo::Request("stale"), &reply));
  EXPECT_EQ(before, reply);
  EXPECT_TRUE(echo_.received().empty());
}

TEST_F(ApplicationBaseTest, LateReplyIsDroppedAndTheNextRequestGetsItsOwn) {
  CMessage reply;
  // A request already out of time reaches the instance neither through the framework's
  // thread nor on the sender's.
  application()->SetReplyTimeLimit(std::chrono::milliseconds(0));
  for (bool without_blocking : {false, true}) {
    echo_.SetAnswersWithoutBlocking(without_blocking);
    EXPECT_EQ(0, Send(Echo::Request("expired"), &reply));
  }
  echo_.SetAnswersWithoutBlocking(false);
  application()->SetReplyTimeLimit(std::chrono::milliseconds(100));
  EXPECT_EQ(0, Send(Echo::Request("slow", true), &reply));  // held past its time limit
  EXPECT_EQ(0, reply.NumOfQuery());
  // The instance answers "slow" while "fast" waits behind it; that answer must not be
  // taken for the answer to "fast".
  application()->SetReplyTimeLimit(std::chrono::milliseconds(3000));
  const pid_t sender = base::test::CurrentThreadId();
  const int asked = echo_.asked();
  std::thread releaser([&] {
    while (echo_.asked() == asked)
      std::this_thread::yield();
    EXPECT_TRUE(base::test::WaitUntilBlocked(sender));  // "fast" is queued behind "slow"
    echo_.Release();                                    // "slow" is answered, too late
    while (echo_.received().size() < 2)
      std::this_thread::yield();
    // "fast" is held until its sender has had every chance to take the wrong answer.
    EXPECT_TRUE(base::test::WaitUntilBlocked(sender));
    echo_.Release();
  });
  EXPECT_NE(0, Send(Echo::Request("fast", true), &reply));
  releaser.join();
  EXPECT_EQ("fast", Echo::EchoOf(reply));
  EXPECT_EQ(2, reply.NumOfQuery());
  EXPECT_EQ((std::vector<std::string>{"slow", "fast"}), echo_.received());
}

TEST_F(ApplicationBaseTest, RemovingTheInstanceReleasesItsWaitingSender) {
  auto pending = std::async(std::launch::async, [this] {
    CMessage reply;
    return Send(Echo::Request("blocked", false, true), &reply);  // never answered
  });
  while (echo_.received().empty())
    std::this_thread::yield();
  EXPECT_TRUE(directory()->RemoveInstance("echo"));
  // With the default limit of five seconds, only the removal can end the wait this soon.
  ASSERT_EQ(std::future_status::ready, pending.wait_for(std::chrono::seconds(4)));
  EXPECT_EQ(0, pending.get());
}

}  // namespace
}  // namespace ORVELL0300
