// What the plugin's unit tests share: a fixture that lets every module line through,
// captures what is written and drives a stub without a channel, and a registry that notes
// the calls made of it, and threads started together.

#ifndef PLUGIN_DEVICE_AV_PLUGIN_TEST_AV_TEST_H_
#define PLUGIN_DEVICE_AV_PLUGIN_TEST_AV_TEST_H_

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/json/json_writer.h"
#include "base/logging.h"
#include "base/synchronization/waitable_event.h"
#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "plugin/device/av_plugin/av_log.h"
#include "plugin/device/av_plugin/stub/av_messages.h"
#include "plugin/device/av_plugin/stub/av_stub.h"
#include "runtime/reflection.h"

namespace plugin {

typedef std::pair<int, std::string> Line;  // severity, message without the module prefix

inline Line Info(const std::string& message) {
  return Line(logging::LOG_INFO, message);
}
inline Line Error(const std::string& message) {
  return Line(logging::LOG_ERROR, message);
}

// The runtime's registry, noting each call the manager makes of it.
class RecordingReflection : public runtime::Reflection {
 public:
  bool ParseSignature(const std::string& signature,
                      std::string& return_type,
                      std::vector<std::string>& params_type) override {
    if (before_parse)
      before_parse();
    calls.push_back("Parse " + signature);
    return Reflection::ParseSignature(signature, return_type, params_type);
  }
  bool AddMethod(const std::string& component,
                 const std::string& class_name,
                 const std::string& method,
                 const std::string& return_type,
                 const std::vector<std::string>& params_type,
                 runtime::FunctionMethodContainerBase* container) override {
    calls.push_back("Add " + component + "/" + class_name + "/" + method);
    return Reflection::AddMethod(component, class_name, method, return_type, params_type,
                                 container);
  }
  bool RemoveMethod(const std::string& component,
                    const std::string& class_name,
                    const std::string& method,
                    const std::string& return_type,
                    const std::vector<std::string>& params_type) override {
    calls.push_back("Remove " + component + "/" + class_name + "/" + method);
    return Reflection::RemoveMethod(component, class_name, method, return_type, params_type);
  }

  std::vector<std::string> calls;
  std::function<void()> before_parse;  // if set, runs first in each ParseSignature
};

// The stub, keeping what it sends instead of writing it to a channel.
class RecordingStub : public AvStub {
 public:
  RecordingStub() : AvStub("unused", IPC::Channel::MODE_NAMED_SERVER, nullptr, nullptr) {}
  bool Send(IPC::Message* message) override {
    sent.emplace_back(message);
    return true;
  }
  std::vector<std::unique_ptr<IPC::Message>> sent;
};

class AvTest : public testing::Test {
 protected:
  void SetUp() override {
    logging::SetMinLogLevel(logging::LOG_INFO);
    av::log_level = 0;
  }

  // The module lines that |function| wrote since the capture was last cleared, without
  // their " #av#function#  " prefix.
  std::vector<Line> LinesOf(const std::string& function) const {
    const std::string prefix = " #av#" + function + "#  ";
    std::vector<Line> lines;
    for (const auto& line : capture_.lines()) {
      if (line.message.compare(0, prefix.size(), prefix) == 0)
        lines.emplace_back(line.severity, line.message.substr(prefix.size()));
    }
    return lines;
  }

  // Invokes the service method |method| by name, as the device layer does, through the
  // stub's handler: its result code, with its results as JSON in |results|.
  int Invoke(const std::string& method, const base::DictionaryValue& args, std::string* results) {
    base::DictionaryValue out;
    int code = -1;
    AvMsg_ServiceInvoke request(method, args, &out, &code);
    stub_.sent.clear();
    EXPECT_TRUE(stub_.SyncMessageHandler(request));
    std::unique_ptr<IPC::MessageReplyDeserializer> reader(request.GetReplyDeserializer());
    EXPECT_TRUE(stub_.sent.size() == 1 && reader->SerializeOutputParameters(*stub_.sent[0]));
    base::JSONWriter::Write(&out, results);
    return code;
  }

  logging::ScopedLogCapture capture_;
  RecordingStub stub_;
};

// Runs |body|(i) on |threads| threads, released together once all of them have started.
inline void RunTogether(int threads, const std::function<void(int)>& body) {
  std::atomic<int> starting{threads};
  base::WaitableEvent go(true, false);
  std::vector<std::thread> workers;
  for (int i = 0; i < threads; ++i) {
    workers.emplace_back([&, i] {
      if (--starting == 0)
        go.Signal();
      go.Wait();
      body(i);
    });
  }
  for (auto& worker : workers)
    worker.join();
}

}  // namespace plugin

#endif  // PLUGIN_DEVICE_AV_PLUGIN_TEST_AV_TEST_H_
