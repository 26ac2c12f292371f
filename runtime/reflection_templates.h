// Method containers: the invocation objects that a component hands to the runtime's
// reflection registry, so that the runtime can call the component's functions by name with
// untyped pointers to the result, the object and the arguments.

#ifndef RUNTIME_REFLECTION_TEMPLATES_H_
#define RUNTIME_REFLECTION_TEMPLATES_H_

#include <string>
#include <vector>

#include "base/logging.h"

namespace runtime {

// The base of every container; containers are destroyed through it.
class FunctionMethodContainerBase {
 public:
  virtual ~FunctionMethodContainerBase() {}

  // Calls the wrapped function. |ret| receives the result; |obj| is the object for a
  // member function; |argv| points to one pointer per parameter.
  virtual void invoke(void* ret, void* obj, void** argv) = 0;

  int nParams_;                          // parameters the wrapped function takes
  std::string returnType_;               // return type parsed from the signature text
  std::vector<std::string> paramsType_;  // parameter types parsed from the signature text

 protected:
  FunctionMethodContainerBase(int nParams,
                              const std::string& return_type,
                              const std::vector<std::string>& params_type)
      : nParams_(nParams), returnType_(return_type), paramsType_(params_type) {
    // A signature whose parameter count differs from the container's is a programming
    // error that the process does not survive.
    if (params_type.size() != static_cast<size_t>(nParams_))
      logging::CheckFailure(__FILE__, __LINE__, "params_type.size() == nParams_");
  }
};

// A static function without parameters returning ReturnType.
template <typename ReturnType>
class ReflectionStaticFuncType0 : public FunctionMethodContainerBase {
 public:
  typedef ReturnType (*fptr)();

  ReflectionStaticFuncType0(fptr func,
                            std::string return_type,
                            std::vector<std::string> params_type)
      : FunctionMethodContainerBase(0, return_type, params_type), func_(func) {}

  // Stores func_() at |ret|; |obj| and |argv| are not read.
  void invoke(void* ret, void* /*obj*/, void** /*argv*/) override {
    *static_cast<ReturnType*>(ret) = func_();
  }

  fptr func_;
};

// A member function of Class taking one Param1 by reference and returning ReturnType.
template <typename ReturnType, typename Class, typename Param1>
class MethodContainerType1_ : public FunctionMethodContainerBase {
 public:
  typedef ReturnType (Class::*fptr)(const Param1&);

  MethodContainerType1_(fptr func, std::string return_type, std::vector<std::string> params_type)
      : FunctionMethodContainerBase(1, return_type, params_type), func_(func) {}

  // Calls func_ on the Class at |obj| with the Param1 that argv[0] points to; stores the
  // result at |ret|.
  void invoke(void* ret, void* obj, void** argv) override {
    *static_cast<ReturnType*>(ret) =
        (static_cast<Class*>(obj)->*func_)(*static_cast<Param1*>(argv[0]));
  }

  fptr func_;
};

}  // namespace runtime

#endif  // RUNTIME_REFLECTION_TEMPLATES_H_
