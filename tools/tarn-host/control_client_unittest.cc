#include "tools/tarn-host/control_client.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "event/event.h"
#include "event/event_manager.h"
#include "gtest/gtest.h"
#include "ipc/ipc_sync_message.h"
#include "ipc/pickle.h"
#include "runtime/reflection.h"
#include "runtime/reflection_templates.h"
#include "tools/control/control_messages.h"
#include "tools/tarn-host/method_invoker.h"

namespace tarn_host {
namespace {

// Stands for a client's channel: keeps what is sent, and fails the test when anything is
// sent after |closed| is set.
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

class Greeter {
 public:
  static Greeter* GetInstance() {
    static Greeter greeter;
    return &greeter;
  }
  bool Greet(const std::string& name) { return name == "world"; }
};

void Publish(int id, const std::vector<std::string>& strings) {
  evt::EventManager* bus = evt::EventManager::GetInstance();
  std::unique_ptr<evt::Event> event(bus->CreateEvent(id));
  Pickle pickle;
  for (const std::string& text : strings)
    pickle.WriteString(text);
  event->SetData(pickle);
  bus->PublishEvent(event.get());
}

class ControlClientTest : public testing::Test {
 protected:
  ControlClientTest() : invoker_(&reflection_), client_(&channel_, &invoker_) {
    std::string return_type;
    std::vector<std::string> params_type;
    reflection_.ParseSignature("Greeter * ()", return_type, params_type);
    reflection_.AddMethod("c", "Greeter", "GetInstance", return_type, params_type,
                          new runtime::ReflectionStaticFuncType0<Greeter*>(
                              &Greeter::GetInstance, return_type, params_type));
    reflection_.ParseSignature("bool (std::string)", return_type, params_type);
    reflection_.AddMethod("c", "Greeter", "Greet", return_type, params_type,
                          new runtime::MethodContainerType1_<bool, Greeter, const std::string>(
                              &Greeter::Greet, return_type, params_type));
  }

  // Hands |request| to the client and returns its one answer (null when there is none).
  std::unique_ptr<IPC::Message> Exchange(const IPC::Message& request) {
    client_.OnMessageReceived(request);
    std::vector<std::unique_ptr<IPC::Message>> sent = channel_.Take();
    EXPECT_GE(1u, sent.size());
    return sent.empty() ? nullptr : std::move(sent[0]);
  }

  // Sends a request of |Msg| and fills its out-parameters from the reply; false when no
  // proper reply came.
  template <class Msg>
  bool Call(Msg* request) {
    std::unique_ptr<IPC::Message> reply = Exchange(*request);
    if (!reply ||
        !IPC::SyncMessage::IsMessageReplyTo(*reply, IPC::SyncMessage::GetMessageId(*request)) ||
        reply->is_reply_error()) {
      return false;
    }
    std::unique_ptr<IPC::MessageReplyDeserializer> deserializer(request->GetReplyDeserializer());
    return deserializer->SerializeOutputParameters(*reply);
  }

  bool Subscribe(int id) {
    bool subscribed = false;
    ControlMsg_Subscribe request(id, &subscribed);
    EXPECT_TRUE(Call(&request));
    return subscribed;
  }

  // The events sent to the client so far, as (id, strings).
  std::vector<std::pair<int, std::vector<std::string>>> Events() {
    std::vector<std::pair<int, std::vector<std::string>>> events;
    for (const auto& message : channel_.Take()) {
      int id = 0;
      std::vector<std::string> strings;
      EXPECT_TRUE(ControlMsg_Event::Read(message.get(), &id, &strings));
      events.emplace_back(id, strings);
    }
    return events;
  }

  runtime::Reflection reflection_;
  MethodInvoker invoker_;
  FakeChannel channel_;
  ControlClient client_;
};

TEST_F(ControlClientTest, InvokeRepliesWithStatusAndResult) {
  const struct {
    const char* method;
    const char* argument;
    int status;
    bool result;
  } rows[] = {
      {"Greet", "world", control::kInvokeOk, true},
      {"Greet", "moon", control::kInvokeOk, false},
      {"Wave", "world", control::kInvokeNoSuchMethod, false},
  };
  for (const auto& row : rows) {
    int status = -1;
    bool result = !row.result;
    ControlMsg_InvokeMethod request("c", "Greeter", row.method, row.argument, &status, &result);
    ASSERT_TRUE(Call(&request)) << row.method;
    EXPECT_EQ(row.status, status);
    EXPECT_EQ(row.result, result);
  }
}

TEST_F(ControlClientTest, MalformedAndUnknownRequestsGetErrorReplies) {
  logging::ScopedLogCapture capture;
  const uint32_t types[] = {ControlMsg_InvokeMethod::ID, ControlMsg_Subscribe::ID,
                            ControlMsg_Event::ID, control::kLastControlType, 0xD47F0024u};
  for (uint32_t type : types) {
    SCOPED_TRACE(type);
    IPC::SyncMessage request(control::kControlRoutingId, type, IPC::Message::PRIORITY_NORMAL,
                             nullptr);
    std::unique_ptr<IPC::Message> reply = Exchange(request);
    ASSERT_TRUE(reply);
    EXPECT_TRUE(reply->is_reply());
    EXPECT_TRUE(reply->is_reply_error());
    EXPECT_TRUE(
        IPC::SyncMessage::IsMessageReplyTo(*reply, IPC::SyncMessage::GetMessageId(request)));
    EXPECT_EQ(4u, reply->payload_size());  // the message id alone
  }
  EXPECT_TRUE(capture.Has(logging::LOG_FATAL,
                          "Check failed: false. Error deserializing message 2046820353"));

  // Neither an asynchronous message nor a reply is answered.
  IPC::Message async(control::kControlRoutingId, ControlMsg_InvokeMethod::ID,
                     IPC::Message::PRIORITY_NORMAL);
  EXPECT_FALSE(Exchange(async));
  int status = 0;
  bool result = false;
  ControlMsg_InvokeMethod request("c", "Greeter", "Greet", "world", &status, &result);
  std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(&request));
  EXPECT_FALSE(Exchange(*reply));
}

TEST_F(ControlClientTest, ForwardsEachSubscribedEventOnce) {
  Publish(35, {"before"});
  EXPECT_TRUE(Subscribe(35));
  EXPECT_FALSE(Subscribe(-2));
  Publish(35, {"tv-1", "av_plugin"});
  Publish(37, {"tv-1", "av_plugin", "2014-05-09 07:05:03"});
  typedef std::vector<std::pair<int, std::vector<std::string>>> EventList;
  EXPECT_EQ((EventList{{35, {"tv-1", "av_plugin"}}}), Events());

  EXPECT_TRUE(Subscribe(-1));
  Publish(35, {"tv-2", "av_plugin"});  // subscribed twice over, forwarded once
  Publish(99, {});
  EXPECT_EQ((EventList{{35, {"tv-2", "av_plugin"}}, {99, {}}}), Events());
}

TEST_F(ControlClientTest, NothingIsSentAfterDetach) {
  EXPECT_TRUE(Subscribe(-1));
  client_.Detach();
  channel_.closed = true;
  Publish(35, {"tv-1", "av_plugin"});
  bool subscribed = false;
  ControlMsg_Subscribe subscribe(35, &subscribed);
  EXPECT_FALSE(Exchange(subscribe));  // no reply at all: the client is detached
  int status = 0;
  bool result = false;
  ControlMsg_InvokeMethod request("c", "Greeter", "Greet", "world", &status, &result);
  EXPECT_FALSE(Call(&request));
  EXPECT_TRUE(Events().empty());
}

TEST_F(ControlClientTest, DetachWaitsForAForwardingUnderWay) {
  EXPECT_TRUE(Subscribe(-1));
  std::atomic<bool> stop{false};
  std::thread publisher([&stop] {
    while (!stop.load())
      Publish(35, {"tv-1", "av_plugin"});
  });
  while (channel_.Take().empty())
    std::this_thread::yield();
  client_.Detach();
  channel_.closed = true;  // a Send from here on fails the test
  std::this_thread::sleep_for(std::chrono::milliseconds(20));
  stop = true;
  publisher.join();
}

}  // namespace
}  // namespace tarn_host
