#include "tools/tarn-host/method_invoker.h"

#include <string>
#include <vector>

#include "base/logging.h"
#include "base/test/log_capture.h"
#include "base/values.h"
#include "gtest/gtest.h"
#include "runtime/reflection.h"
#include "runtime/reflection_templates.h"

namespace tarn_host {
namespace {

// The object that the registered methods run on.
class Target {
 public:
  static Target* GetInstance() {
    static Target target;
    return &target;
  }
  static Target* GetNothing() { return nullptr; }

  bool Accept(const std::string& argument) {
    arguments.push_back(argument);
    return argument == "yes";
  }
  int Count(const std::string& argument) { return static_cast<int>(argument.size()); }

  std::vector<std::string> arguments;
};

// A container for signatures that no container of the runtime's templates takes; the
// invoker must never call it.
class MustNotRun : public runtime::FunctionMethodContainerBase {
 public:
  MustNotRun(const std::string& return_type, const std::vector<std::string>& params_type)
      : FunctionMethodContainerBase(static_cast<int>(params_type.size()),
                                    return_type,
                                    params_type) {}
  void invoke(void*, void*, void**) override { ADD_FAILURE() << "called " << returnType_; }
};

class MethodInvokerTest : public testing::Test {
 protected:
  void SetUp() override {
    Add("Target", "GetInstance", "tarn_host::Target * ()", InstanceContainer<&Target::GetInstance>);
    Add("Target", "Accept", "bool (std::string)", AcceptContainer);
    Add("Target", "Count", "int (std::string)", CountContainer);
    for (const char* signature : {"bool (std::string, int)", "bool (int)", "bool ()",
                                  "void (std::string)", "bool (const std::string&)"}) {
      Add("Target", signature, signature, NeverRun);
    }
    // Classes whose "GetInstance" gives no object.
    Add("NoInstance", "Accept", "bool (std::string)", AcceptContainer);
    Add("NullInstance", "GetInstance", "Target * ()", InstanceContainer<&Target::GetNothing>);
    Add("NullInstance", "Accept", "bool (std::string)", AcceptContainer);
    Add("ValueInstance", "GetInstance", "int ()", NeverRun);
    Add("ValueInstance", "Accept", "bool (std::string)", AcceptContainer);
    Add("ParamInstance", "GetInstance", "Target * (int)", NeverRun);
    Add("ParamInstance", "Accept", "bool (std::string)", AcceptContainer);
    Target::GetInstance()->arguments.clear();
  }

  typedef runtime::FunctionMethodContainerBase* (*MakeContainer)(const std::string&,
                                                                 const std::vector<std::string>&);

  template <Target* (*get_instance)()>
  static runtime::FunctionMethodContainerBase* InstanceContainer(
      const std::string& return_type,
      const std::vector<std::string>& params_type) {
    return new runtime::ReflectionStaticFuncType0<Target*>(get_instance, return_type, params_type);
  }
  static runtime::FunctionMethodContainerBase* CountContainer(
      const std::string& return_type,
      const std::vector<std::string>& params_type) {
    return new runtime::MethodContainerType1_<int, Target, const std::string>(
        &Target::Count, return_type, params_type);
  }
  static runtime::FunctionMethodContainerBase* AcceptContainer(
      const std::string& return_type,
      const std::vector<std::string>& params_type) {
    return new runtime::MethodContainerType1_<bool, Target, const std::string>(
        &Target::Accept, return_type, params_type);
  }
  static runtime::FunctionMethodContainerBase* NeverRun(
      const std::string& return_type,
      const std::vector<std::string>& params_type) {
    return new MustNotRun(return_type, params_type);
  }

  void Add(const std::string& class_name,
           const std::string& method,
           const std::string& signature,
           MakeContainer make) {
    std::string return_type;
    std::vector<std::string> params_type;
    ASSERT_TRUE(reflection_.ParseSignature(signature, return_type, params_type)) << signature;
    reflection_.AddMethod("test", class_name, method, return_type, params_type,
                          make(return_type, params_type));
  }

  runtime::Reflection reflection_;
};

TEST_F(MethodInvokerTest, StatusesFollowTheRegistrations) {
  MethodInvoker invoker(&reflection_);
  const struct {
    const char* component;
    const char* class_name;
    const char* method;
    const char* argument;
    control::InvokeStatus status;
    bool result;
  } rows[] = {
      {"test", "Target", "Accept", "yes", control::kInvokeOk, true},
      {"test", "Target", "Accept", "no", control::kInvokeOk, false},
      {"test", "Target", "Accept", "", control::kInvokeOk, false},
      {"test", "Target", "accept", "yes", control::kInvokeNoSuchMethod, false},
      {"test", "target", "Accept", "yes", control::kInvokeNoSuchMethod, false},
      {"other", "Target", "Accept", "yes", control::kInvokeNoSuchMethod, false},
      {"test", "Target", "Count", "yes", control::kInvokeBadSignature, false},
      {"test", "Target", "bool (std::string, int)", "yes", control::kInvokeBadSignature, false},
      {"test", "Target", "bool (int)", "yes", control::kInvokeBadSignature, false},
      {"test", "Target", "bool ()", "yes", control::kInvokeBadSignature, false},
      {"test", "Target", "void (std::string)", "yes", control::kInvokeBadSignature, false},
      {"test", "Target", "bool (const std::string&)", "yes", control::kInvokeBadSignature, false},
      {"test", "NoInstance", "Accept", "yes", control::kInvokeNoInstance, false},
      {"test", "NullInstance", "Accept", "yes", control::kInvokeNoInstance, false},
      {"test", "ValueInstance", "Accept", "yes", control::kInvokeNoInstance, false},
      {"test", "ParamInstance", "Accept", "yes", control::kInvokeNoInstance, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.class_name) + " " + row.method);
    bool result = !row.result;
    EXPECT_EQ(row.status,
              invoker.Invoke(row.component, row.class_name, row.method, row.argument, &result));
    EXPECT_EQ(row.result, result);
  }
  // Only the three successful invocations reached the method, with their arguments.
  EXPECT_EQ((std::vector<std::string>{"yes", "no", ""}), Target::GetInstance()->arguments);
}

TEST_F(MethodInvokerTest, RequestNeedsItsFourStrings) {
  MethodInvoker invoker(&reflection_);
  base::DictionaryValue request;
  request.SetString("component", "test");
  request.SetString("class", "Target");
  request.SetString("method", "Accept");
  request.SetString("argument", "yes \"quoted\"");
  bool result = false;
  EXPECT_EQ(control::kInvokeOk, invoker.Invoke(request, &result));
  EXPECT_EQ(std::vector<std::string>{"yes \"quoted\""}, Target::GetInstance()->arguments);

  for (const char* key : {"component", "class", "method", "argument"}) {
    SCOPED_TRACE(key);
    std::unique_ptr<base::DictionaryValue> missing(request.DeepCopy());
    missing->RemoveWithoutPathExpansion(key);
    result = true;
    EXPECT_EQ(control::kInvokeBadRequest, invoker.Invoke(*missing, &result));
    EXPECT_FALSE(result);
    std::unique_ptr<base::DictionaryValue> mistyped(request.DeepCopy());
    mistyped->SetInteger(key, 1);
    EXPECT_EQ(control::kInvokeBadRequest, invoker.Invoke(*mistyped, &result));
  }
  EXPECT_EQ(1u, Target::GetInstance()->arguments.size());
}

TEST_F(MethodInvokerTest, WithoutARegistryNothingIsFound) {
  MethodInvoker invoker(nullptr);
  bool result = true;
  EXPECT_EQ(control::kInvokeNoSuchMethod,
            invoker.Invoke("test", "Target", "Accept", "yes", &result));
  EXPECT_FALSE(result);
}

TEST_F(MethodInvokerTest, EachInvocationIsLoggedAtInfo) {
  MethodInvoker invoker(&reflection_);
  logging::ScopedLogCapture capture;
  bool result = false;
  invoker.Invoke("test", "Target", "Accept", "yes", &result);
  invoker.Invoke("test", "Target", "Count", "x", &result);
  invoker.Invoke(base::DictionaryValue(), &result);
  EXPECT_EQ((std::vector<std::string>{
                "Invoke test Target Accept(\"yes\"): ok, returned true",
                "Invoke test Target Count(\"x\"): not a \"bool (std::string)\" method",
                "Invoke: a request without its four strings: bad request"}),
            capture.messages());
  for (const auto& line : capture.lines())
    EXPECT_EQ(logging::LOG_INFO, line.severity);
}

}  // namespace
}  // namespace tarn_host
