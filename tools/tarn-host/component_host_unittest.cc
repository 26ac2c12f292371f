#include "tools/tarn-host/component_host.h"

#include <string>
#include <vector>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "gtest/gtest.h"
#include "runtime/runtime.h"
#include "tools/tarn-host/host_config.h"

namespace tarn_host {
namespace {

// The test component's calls, in order, from the captured lines.
std::vector<std::string> Calls(const logging::ScopedLogCapture& capture) {
  const std::string prefix = "test component: ";
  std::vector<std::string> calls;
  for (const std::string& message : capture.messages()) {
    if (message.compare(0, prefix.size(), prefix) == 0)
      calls.push_back(message.substr(prefix.size()));
  }
  return calls;
}

ComponentConfig Component(const std::string& library, std::vector<std::string> channels) {
  ComponentConfig config;
  config.library = library;
  for (const std::string& channel : channels)
    config.links.push_back(LinkConfig{channel, IPC::Channel::MODE_NAMED_SERVER});
  return config;
}

TEST(ComponentHostTest, LoadsInOrderAndDestroysInReverse) {
  logging::SetMinLogLevel(logging::LOG_INFO);
  logging::ScopedLogCapture capture;
  ComponentHost host(runtime::Runtime::GetInstance());
  std::string error;
  ASSERT_TRUE(host.Load(Component(TARN_TEST_COMPONENT_OK, {"/t/a", "/t/b"}), &error)) << error;
  EXPECT_EQ((std::vector<std::string>{"Init", "QueryInterface plugin_manager_itf",
                                      "OpenLink /t/a 5", "OpenLink /t/b 5"}),
            Calls(capture));
  EXPECT_TRUE(capture.Has(logging::LOG_INFO, "Loaded component \"test_component\" from " +
                                                 std::string(TARN_TEST_COMPONENT_OK)));
  EXPECT_EQ(1u, host.component_count());

  // The same library again, under another name, is the same component: refused untouched.
  capture.Clear();
  const std::string again =
      std::string(TARN_TEST_COMPONENT_OK_DIR) + "/./" + TARN_TEST_COMPONENT_OK_NAME;
  EXPECT_FALSE(host.Load(Component(again, {"/t/c"}), &error));
  EXPECT_EQ("component library " + again + " is already loaded, as " + TARN_TEST_COMPONENT_OK,
            error);
  EXPECT_TRUE(Calls(capture).empty());
  EXPECT_EQ(1u, host.component_count());
  capture.Clear();
  host.DestroyAll();
  EXPECT_EQ(std::vector<std::string>{"Destroy"}, Calls(capture));
  EXPECT_EQ(0u, host.component_count());
  host.DestroyAll();
  EXPECT_EQ(std::vector<std::string>{"Destroy"}, Calls(capture));  // not a second time
}

// A library that cannot be loaded at all is one of tarn-host's cases in host_process_test.
TEST(ComponentHostTest, AFailureIsUndoneAndNamesTheLibrary) {
  const std::string ok = TARN_TEST_COMPONENT_OK;
  const std::string init_fails = TARN_TEST_COMPONENT_INIT_FAILS;
  const std::string no_manager = TARN_TEST_COMPONENT_NO_MANAGER;
  const std::string no_entry = TARN_TEST_COMPONENT_NO_ENTRY;
  const struct {
    ComponentConfig config;
    std::string error;  // the beginning of the error
    std::vector<std::string> calls;
  } rows[] = {
      {Component(no_entry, {"/t/a"}),
       "component library " + no_entry + " has no GetComponent: ",
       {}},
      {Component(init_fails, {"/t/a"}),
       "component library " + init_fails + ": Init failed",
       {"Init", "Destroy"}},
      {Component(no_manager, {"/t/a"}),
       "component library " + no_manager + ": no interface \"plugin_manager_itf\"",
       {"Init", "QueryInterface plugin_manager_itf", "Destroy"}},
      {Component(ok, {"/t/a", "bad-link", "/t/c"}),
       "component library " + ok + ": cannot open the link bad-link (named_server)",
       {"Init", "QueryInterface plugin_manager_itf", "OpenLink /t/a 5", "OpenLink bad-link 5",
        "Destroy"}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.config.library);
    logging::ScopedLogCapture capture;
    ComponentHost host(runtime::Runtime::GetInstance());
    std::string error;
    EXPECT_FALSE(host.Load(row.config, &error));
    EXPECT_EQ(row.error, error.substr(0, row.error.size())) << error;
    EXPECT_EQ(row.calls, Calls(capture));
    EXPECT_EQ(0u, host.component_count());
  }
}

}  // namespace
}  // namespace tarn_host
