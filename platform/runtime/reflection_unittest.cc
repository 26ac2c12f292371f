#include "runtime/reflection.h"

#include <string>
#include <vector>

#include "gtest/gtest.h"
#include "runtime/reflection_templates.h"

namespace runtime {
namespace {

TEST(ReflectionTest, ParseSignature) {
  struct Row {
    const char* signature;
    bool ok;
    const char* return_type;
    std::vector<std::string> params;
  };
  const Row rows[] = {
      {"plugin::AvManagerImpl * ()", true, "plugin::AvManagerImpl *", {}},
      {"bool (std::string)", true, "bool", {"std::string"}},
      {"void(void)", true, "void", {}},
      {" int ( const std::string & , std::map<int, int> ) ",
       true,
       "int",
       {"const std::string &", "std::map<int, int>"}},
      {"bool", false, "", {}},
      {"(int)", false, "", {}},
      {"bool (int,)", false, "", {}},
      {"bool (int", false, "", {}},
      {"bool (std::map<int, int)", false, "", {}},
  };
  Reflection reflection;
  for (const Row& row : rows) {
    SCOPED_TRACE(row.signature);
    std::string return_type = "stale";
    std::vector<std::string> params = {"stale"};
    EXPECT_EQ(row.ok, reflection.ParseSignature(row.signature, return_type, params));
    EXPECT_EQ(row.return_type, return_type);
    EXPECT_EQ(row.params, params);
  }
}

struct Counter {
  bool Add(const std::string& text) {
    total += text;
    return !text.empty();
  }
  std::string total;
};

TEST(ReflectionTest, MethodsAreFoundAndInvokedByTheirThreeNames) {
  Reflection reflection;
  const std::vector<std::string> one = {"std::string"};
  reflection.AddMethod(
      "comp", "Counter", "Add", "bool", one,
      new MethodContainerType1_<bool, Counter, const std::string>(&Counter::Add, "bool", one));
  Counter counter;
  std::string argument = "abc";
  void* argv[] = {&argument};
  bool added = false;
  ASSERT_TRUE(reflection.Invoke("comp", "Counter", "Add", &added, &counter, argv));
  EXPECT_TRUE(added);
  EXPECT_EQ("abc", counter.total);
  EXPECT_FALSE(reflection.Invoke("comp", "Counter", "Missing", &added, &counter, argv));
  EXPECT_FALSE(reflection.Invoke("comp", "Other", "Add", &added, &counter, argv));
  EXPECT_FALSE(reflection.Invoke("other", "Counter", "Add", &added, &counter, argv));

  Reflection::MethodInfo info;
  ASSERT_TRUE(reflection.GetMethod("comp", "Counter", "Add", &info));
  EXPECT_EQ("bool", info.return_type);
  EXPECT_EQ(one, info.params_type);
  EXPECT_EQ(1u, reflection.CountMethods("comp"));
  EXPECT_EQ(0u, reflection.CountMethods("other"));
}

TEST(ReflectionDeathTest, ParameterCountMismatchStopsTheProcess) {
  EXPECT_DEATH(ReflectionStaticFuncType0<int>(nullptr, "int", {"int"}),
               "Check failed: params_type.size\\(\\) == nParams_");
}

}  // namespace
}  // namespace runtime
