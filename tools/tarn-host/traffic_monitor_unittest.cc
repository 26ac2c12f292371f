#include "tools/tarn-host/traffic_monitor.h"

#include <chrono>
#include <memory>
#include <sstream>
#include <string>

#include "base/values.h"
#include "gtest/gtest.h"
#include "ipc/ipc_sync_message.h"
#include "plugin/device/av_plugin/stub/av_messages.h"

namespace tarn_host {
namespace {

// A link exchange of AvMsg_ServiceInvoke(|method|) answered with result code |code|.
void Exchange(TrafficMonitor* monitor, const std::string& method, int code) {
  base::DictionaryValue args;
  base::DictionaryValue results;
  int unused = 0;
  AvMsg_ServiceInvoke request(method, args, &results, &unused);
  std::unique_ptr<IPC::Message> reply(IPC::SyncMessage::GenerateReply(&request));
  AvMsg_ServiceInvoke::ReplyParam params;
  params.b = code;
  AvMsg_ServiceInvoke::Schema::WriteReplyParam(reply.get(), params);
  monitor->OnLinkExchange("/l.sock", 7, request, reply.get(), std::chrono::microseconds(40));
}

TEST(TrafficMonitorTest, MadeUpMethodNamesCannotGrowTheTables) {
  std::ostringstream trace;
  TrafficMonitor monitor(&trace);
  Exchange(&monitor, "GetPowerState", 0);
  Exchange(&monitor, "GetPowerState", 100);
  for (int i = 0; i < 200; ++i)
    Exchange(&monitor, "Made-up " + std::to_string(i), 404);
  base::DictionaryValue status;
  monitor.FillStatus(1, &status);
  const base::DictionaryValue* methods = nullptr;
  ASSERT_TRUE(status.GetDictionary("methods", &methods));
  EXPECT_EQ(65u, methods->size());  // 64 names of their own, and the rest together
  int value = -1;
  EXPECT_TRUE(methods->GetInteger("(other).requests", &value));
  EXPECT_EQ(137, value);
  EXPECT_TRUE(methods->GetInteger("GetPowerState.errors", &value));
  EXPECT_EQ(1, value);
  EXPECT_TRUE(methods->GetInteger("GetPowerState.p50_us", &value));
  EXPECT_EQ(40, value);
  EXPECT_TRUE(status.GetInteger("messages.AvMsg_ServiceInvoke.requests", &value));
  EXPECT_EQ(202, value);
  EXPECT_NE(std::string::npos,
            trace.str().find(" link /l.sock pid 7 AvMsg_ServiceInvoke(GetPowerState, {}) -> "
                             "({}, 100) (40 us)\n"));
}

}  // namespace
}  // namespace tarn_host
