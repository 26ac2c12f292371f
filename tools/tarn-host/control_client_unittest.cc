#include "tools/tarn-host/control_client.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/logging.h"
#include "event/event.h"
#include "event/event_manager.h"
#include "gtest/gtest.h"
#include "ipc/ipc_sync_message.h"
#include "ipc/pickle.h"
#include "tools/control/control_messages.h"
#include "tools/tarn-host/method_invoker.h"

namespace tarn_host {
namespace {

typedef std::vector<std::pair<int, std::vector<std::string>>> EventList;

// Stands for a client's channel: keeps what is sent; sending once |closed| is set fails
// the test.
class FakeChannel : public IPC::Message::Sender {
 public:
  bool Send(IPC::Message* message) override {
    EXPECT_FALSE(closed.load()) << "sent on a detached channel";
    std::lock_guard<std::mutex> lock(lock_);
    sent_.emplace_back(message);
    return true;
  }
  std::vector<std::unique_ptr<IPC::Message>> Take() {
    std::lock_guard<std::mutex> lock(lock_);
    return std::move(sent_);
  }
  std::atomic<bool> closed{false};

 private:
  std::mutex lock_;
  std::vector<std::unique_ptr<IPC::Message>> sent_;
};

void Publish(int id, const std::vector<std::string>& strings) {
  std::unique_ptr<evt::Event> event(evt::EventManager::GetInstance()->CreateEvent(id));
  Pickle pickle;
  for (const std::string& text : strings)
    pickle.WriteString(text);
  event->SetData(pickle);
  evt::EventManager::GetInstance()->PublishEvent(event.get());
}

class ControlClientTest : public testing::Test {
 protected:
  ControlClientTest()
      : invoker_(nullptr), client_(&channel_, "control", &invoker_, nullptr, nullptr) {}

  // Hands |request| to the client and returns its one answer, or null.
  std::unique_ptr<IPC::Message> Exchange(const IPC::Message& request) {
    client_.OnMessageReceived(request);
    std::vector<std::unique_ptr<IPC::Message>> sent = channel_.Take();
    EXPECT_GE(1u, sent.size());
    return sent.empty() ? nullptr : std::move(sent[0]);
  }

  bool Subscribe(int id) {
    bool subscribed = false;
    ControlMsg_Subscribe request(id, &subscribed);
    std::unique_ptr<IPC::Message> reply = Exchange(request);
    std::unique_ptr<IPC::MessageReplyDeserializer> deserializer(request.GetReplyDeserializer());
    EXPECT_TRUE(reply && deserializer->SerializeOutputParameters(*reply));
    return subscribed;
  }

  EventList Events() {
    EventList events;
    for (const auto& message : channel_.Take()) {
      events.emplace_back();
      EXPECT_TRUE(
          ControlMsg_Event::Read(message.get(), &events.back().first, &events.back().second));
    }
    return events;
  }

  MethodInvoker invoker_;
  FakeChannel channel_;
  ControlClient client_;
};

TEST_F(ControlClientTest, MalformedAndUnknownRequestsGetErrorReplies) {
  for (uint32_t type : {ControlMsg_InvokeMethod::ID, ControlMsg_Subscribe::ID, ControlMsg_Event::ID,
                        control::kLastControlType, 0xD47F0024u}) {
    IPC::SyncMessage request(1, type, IPC::Message::PRIORITY_NORMAL, nullptr);
    std::unique_ptr<IPC::Message> reply = Exchange(request);
    ASSERT_TRUE(reply) << type;
    EXPECT_TRUE(reply->is_reply_error()) << type;
    EXPECT_TRUE(
        IPC::SyncMessage::IsMessageReplyTo(*reply, IPC::SyncMessage::GetMessageId(request)));
    EXPECT_EQ(4u, reply->payload_size());  // the message id alone
  }
  // Neither an asynchronous message nor a reply is answered.
  EXPECT_FALSE(
      Exchange(IPC::Message(1, ControlMsg_InvokeMethod::ID, IPC::Message::PRIORITY_NORMAL)));
  bool subscribed = false;
  ControlMsg_Subscribe request(35, &subscribed);
  EXPECT_FALSE(Exchange(*std::unique_ptr<IPC::Message>(IPC::SyncMessage::GenerateReply(&request))));
}

TEST_F(ControlClientTest, ForwardsEachSubscribedEventOnce) {
  Publish(35, {"before"});
  EXPECT_TRUE(Subscribe(35));
  EXPECT_FALSE(Subscribe(-2));
  Publish(35, {"tv-1", "av_plugin"});
  Publish(37, {"tv-1", "av_plugin", "2014-05-09 07:05:03"});
  EXPECT_EQ((EventList{{35, {"tv-1", "av_plugin"}}}), Events());

  EXPECT_TRUE(Subscribe(-1));
  Publish(35, {"tv-2", "av_plugin"});  // subscribed twice over, forwarded once
  Publish(99, {});
  EXPECT_EQ((EventList{{35, {"tv-2", "av_plugin"}}, {99, {}}}), Events());
}

TEST_F(ControlClientTest, NothingIsSentOnceDetachReturns) {
  EXPECT_TRUE(Subscribe(-1));
  std::atomic<int> published{0};
  std::atomic<bool> stop{false};
  std::thread publisher([&] {
    for (; !stop.load(); ++published)
      Publish(35, {"tv-1", "av_plugin"});
  });
  while (channel_.Take().empty())
    std::this_thread::yield();
  client_.Detach();        // while an event may be on its way to the channel
  channel_.closed = true;  // a Send from here on fails the test
  // A hundred more events published after Detach returned.
  const int detached_at = published.load();
  while (published.load() < detached_at + 100)
    std::this_thread::yield();
  stop = true;
  publisher.join();
  channel_.Take();  // what was sent before Detach

  bool subscribed = false;
  ControlMsg_Subscribe request(35, &subscribed);
  EXPECT_FALSE(Exchange(request));  // a detached client answers nothing
}

}  // namespace
}  // namespace tarn_host
