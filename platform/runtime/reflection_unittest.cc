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

TEST(ReflectionDeathTest, ParameterCountMismatchStopsTheProcess) {
  EXPECT_DEATH(ReflectionStaticFuncType0<int>(nullptr, "int", {"int"}),
               "Check failed: params_type.size\\(\\) == nParams_");
}

}  // namespace
}  // namespace runtime
