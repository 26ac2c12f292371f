// A component for tests of the host. It writes each call it receives as a log line
// ("test component: Init", ...), and fails where the build says:
//   TARN_TEST_COMPONENT_FAULT 0  nothing fails, but OpenLink refuses channels named "bad..."
//                             1  Init returns false
//                             2  QueryInterface knows no interface
//                             3  the library has no GetComponent

#include <string>

#include "base/logging.h"
#include "runtime/component.h"

namespace tarn_host_test {

class TestComponent : public runtime::BaseComponent {
 public:
  bool Init(runtime::Runtime* runtime) override {
    Log("Init");
    BaseComponent::Init(runtime);
    return TARN_TEST_COMPONENT_FAULT != 1;
  }
  bool QueryInterface(std::string name, void** out) override {
    Log("QueryInterface " + name);
    if (TARN_TEST_COMPONENT_FAULT == 2)
      return false;
    *out = this;
    return true;
  }
  const char* GetComponentId() override { return "test_component"; }
  bool OpenLink(std::string channel_name, IPC::Channel::Mode mode) override {
    Log("OpenLink " + channel_name + " " + std::to_string(mode));
    return channel_name.compare(0, 3, "bad") != 0;
  }
  bool Destroy() override {
    Log("Destroy");
    return true;
  }

 private:
  static void Log(const std::string& call) {
    LOG_AT(logging::LOG_INFO) << "test component: " << call;
  }
};

}  // namespace tarn_host_test

#if TARN_TEST_COMPONENT_FAULT != 3
extern "C" __attribute__((visibility("default"))) runtime::BaseComponent* GetComponent() {
  static tarn_host_test::TestComponent* component = new tarn_host_test::TestComponent;
  return component;
}
#endif
