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
  std::vector<std::string> arguments;
};

// Stands for a registration whose signature no template container takes; never to be run.
class MustNotRun : public runtime::FunctionMethodContainerBase {
 public:
  MustNotRun(const std::string& return_type, const std::vector<std::string>& params_type)
      : FunctionMethodContainerBase(static_cast<int>(params_type.size()),
                                    return_type,
                                    params_type) {}
  void invoke(void*, void*, void**) override { ADD_FAILURE() << "ran " << returnType_; }
};

class MethodInvokerTest : public testing::Test {
 protected:
  enum Kind { kAccept, kInstance, kNoInstance, kOther };

  void SetUp() override {
    Add("Target", "GetInstance", "Target * ()", kInstance);
    Add("Target", "Accept", "bool (std::string)", kAccept);
    for (const char* signature : {"int (std::string)", "bool (std::string, int)", "bool (int)",
                                  "bool (const std::string&)"})
      Add("Target", signature, signature, kOther);
    Add("NoInstance", "Accept", "bool (std::string)", kAccept);
    Add("NullInstance", "GetInstance", "Target * ()", kNoInstance);
    Add("NullInstance", "Accept", "bool (std::string)", kAccept);
    Add("ParamInstance", "GetInstance", "int (int)", kOther);
    Add("ParamInstance", "Accept", "bool (std::string)", kAccept);
    Target::GetInstance()->arguments.clear();
  }

  void Add(const char* class_name, const char* method, const char* signature, Kind kind) {
    std::string r;
    std::vector<std::string> p;
    ASSERT_TRUE(reflection_.ParseSignature(signature, r, p)) << signature;
    runtime::FunctionMethodContainerBase* container = nullptr;
    if (kind == kAccept)
      container = new runtime::MethodContainerType1_<bool, Target, const std::string>(
          &Target::Accept, r, p);
    else if (kind == kOther)
      container = new MustNotRun(r, p);
    else
      container = new runtime::ReflectionStaticFuncType0<Target*>(
          kind == kInstance ? &Target::GetInstance : &Target::GetNothing, r, p);
    reflection_.AddMethod("test", class_name, method, r, p, container);
  }

  runtime::Reflection reflection_;
};

TEST_F(MethodInvokerTest, StatusesFollowTheRegistrationsAndEachCallIsLogged) {
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
      {"test", "Target", "accept", "yes", control::kInvokeNoSuchMethod, false},
      {"other", "Target", "Accept", "yes", control::kInvokeNoSuchMethod, false},
      {"test", "Target", "int (std::string)", "yes", control::kInvokeBadSignature, false},
      {"test", "Target", "bool (std::string, int)", "yes", control::kInvokeBadSignature, false},
      {"test", "Target", "bool (const std::string&)", "yes", control::kInvokeBadSignature, false},
      {"test", "NoInstance", "Accept", "yes", control::kInvokeNoInstance, false},
      {"test", "NullInstance", "Accept", "yes", control::kInvokeNoInstance, false},
      {"test", "ParamInstance", "Accept", "yes", control::kInvokeNoInstance, false},
  };
  logging::ScopedLogCapture capture;
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.class_name) + " " + row.method);
    bool result = !row.result;
    EXPECT_EQ(row.status,
              invoker.Invoke(row.component, row.class_name, row.method, row.argument, &result));
    EXPECT_EQ(row.result, result);
  }
  EXPECT_EQ((std::vector<std::string>{"yes", "no"}), Target::GetInstance()->arguments);
  EXPECT_TRUE(
      capture.Has(logging::LOG_INFO, "Invoke test Target Accept(\"yes\"): ok, returned true"));
  EXPECT_TRUE(capture.Has(logging::LOG_INFO,
                          "Invoke test Target int (std::string)(\"yes\"): the method does not "
                          "take one string and answer a bool"));
  EXPECT_TRUE(capture.Has(logging::LOG_INFO,
                          "Invoke test NoInstance Accept(\"yes\"): the class "
                          "has no GetInstance giving the object"));

  bool result = true;
  EXPECT_EQ(control::kInvokeNoSuchMethod,
            MethodInvoker(nullptr).Invoke("test", "Target", "Accept", "yes", &result));
  EXPECT_FALSE(result);
}

TEST_F(MethodInvokerTest, ARequestNeedsItsFourStrings) {
  MethodInvoker invoker(&reflection_);
  base::DictionaryValue request;
  request.SetString("component", "test");
  request.SetString("class", "Target");
  request.SetString("method", "Accept");
  request.SetString("argument", "yes");
  logging::ScopedLogCapture capture;
  bool result = false;
  EXPECT_EQ(control::kInvokeOk, invoker.Invoke(request, &result));
  EXPECT_TRUE(result);
  for (const char* key : {"component", "class", "method", "argument"}) {
    std::unique_ptr<base::DictionaryValue> missing(request.DeepCopy());
    missing->RemoveWithoutPathExpansion(key);
    EXPECT_EQ(control::kInvokeBadRequest, invoker.Invoke(*missing, &result)) << key;
    EXPECT_FALSE(result);
    missing->SetInteger(key, 1);
    EXPECT_EQ(control::kInvokeBadRequest, invoker.Invoke(*missing, &result)) << key;
  }
  EXPECT_EQ(1u, Target::GetInstance()->arguments.size());
  EXPECT_EQ(
      8, capture.Count("Invoke: a request without its four strings: the request was incomplete"));
}

}  // namespace
}  // namespace tarn_host
