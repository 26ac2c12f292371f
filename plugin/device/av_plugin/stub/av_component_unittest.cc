// The component: what its base class does by default, and the links it opens.

#include "plugin/device/av_plugin/stub/av_component.h"

#include <unistd.h>

#include <string>

#include "plugin/device/av_plugin/stub/av_stub.h"
#include "plugin/device/av_plugin/test/av_test.h"
#include "runtime/runtime.h"

namespace plugin {
namespace {

// A component that leaves everything but Destroy to the base.
class BareComponent : public runtime::BaseComponent {
 public:
  bool Destroy() override { return true; }
  runtime::Runtime* runtime() const { return runtime_; }
};

typedef AvTest AvComponentTest;

TEST_F(AvComponentTest, BaseDefaultsAndTheDestructorLine) {
  auto* component = new BareComponent;
  int marker = 0;
  void* out = &marker;
  EXPECT_FALSE(component->QueryInterface("plugin_manager_itf", &out));
  EXPECT_EQ(&marker, out);
  EXPECT_TRUE(component->Start());
  EXPECT_STREQ("", component->GetComponentId());
  EXPECT_FALSE(component->OpenLink("/tmp/unused", IPC::Channel::MODE_NAMED_SERVER));
  runtime::Runtime* runtime = runtime::Runtime::GetInstance();
  EXPECT_TRUE(component->Init(runtime));
  EXPECT_EQ(runtime, component->runtime());
  EXPECT_FALSE(component->Init(nullptr));
  EXPECT_EQ(nullptr, component->runtime());

  capture_.Clear();
  delete component;
  const auto lines = capture_.lines();
  ASSERT_EQ(1u, lines.size());
  EXPECT_EQ(logging::LOG_ERROR, lines[0].severity);
  EXPECT_EQ(0u, lines[0].message.find(": COMPONENT_DESTROY is called")) << lines[0].message;
}

TEST_F(AvComponentTest, EachOpenLinkAddsOneStubInOrder) {
  AvComponent component;
  const std::string path = "/tmp/tarn-av-component-" + std::to_string(getpid());
  EXPECT_TRUE(component.OpenLink(path + "-a", IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_FALSE(component.OpenLink("/nonexistent/link", IPC::Channel::MODE_NAMED_SERVER));
  EXPECT_TRUE(component.OpenLink(path + "-b", IPC::Channel::MODE_NAMED_SERVER));
  ASSERT_EQ(2u, AvStub::stubs_.size());
  EXPECT_EQ(path + "-a", AvStub::stubs_[0]->channel_name());
  EXPECT_EQ(path + "-b", AvStub::stubs_[1]->channel_name());
  EXPECT_EQ(Info("Av OpenLink " + path + "-b\n"), LinesOf("OpenLink").back());
  EXPECT_TRUE(AvStub::DestroyDefault());
  EXPECT_TRUE(AvStub::stubs_.empty());
}

}  // namespace
}  // namespace plugin
