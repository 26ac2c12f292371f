// Process-wide singletons, created on first use and safe under concurrent first callers.
//
//   class Foo {
//    public:
//     static Foo* GetInstance() {
//       return Singleton<Foo, LeakySingletonTraits<Foo>, Foo>::get();
//     }
//    private:
//     friend struct LeakySingletonTraits<Foo>;
//     Foo();
//   };
//
// The instance lives in one word: 0 while there is none, 1 while one thread constructs
// it, and then its address. Leaky singletons are never destroyed, not even at exit.

#ifndef BASE_MEMORY_SINGLETON_H_
#define BASE_MEMORY_SINGLETON_H_

#include "base/atomicops.h"

namespace base {
namespace internal {

// The under-construction mark.
const subtle::AtomicWord kBeingCreatedMarker = 1;

// Waits, yielding the processor between looks, until |*instance| no longer holds the
// under-construction mark, and returns what it then holds.
subtle::AtomicWord WaitForInstance(subtle::AtomicWord* instance);

}  // namespace internal
}  // namespace base

template <typename Type>
struct LeakySingletonTraits {
  static Type* New() { return new Type(); }
  // Called when a first caller finds another one constructing the instance, before it waits
  // for it: a hook for tests that need every caller to meet the construction.
  static void WillWaitForInstance() {}
};

template <typename Type,
          typename Traits = LeakySingletonTraits<Type>,
          typename DifferentiatingType = Type>
class Singleton {
 public:
  // The instance; the first caller constructs it while later callers wait.
  static Type* get() {
    using base::subtle::AtomicWord;
    AtomicWord value = base::subtle::Acquire_Load(&instance_);
    // Compared for equality only: the word is signed, and on a 32-bit device addresses
    // above 2 GiB read as negative numbers.
    if (value != 0 && value != base::internal::kBeingCreatedMarker)
      return reinterpret_cast<Type*>(value);
    for (;;) {
      if (base::subtle::pLinuxKernelCmpxchg(0, base::internal::kBeingCreatedMarker, &instance_) ==
          0) {
        Type* created = Traits::New();
        base::subtle::pLinuxKernelMemoryBarrier();
        base::subtle::Release_Store(&instance_, reinterpret_cast<AtomicWord>(created));
        return created;
      }
      if (base::subtle::Acquire_Load(&instance_) != 0) {
        Traits::WillWaitForInstance();
        return reinterpret_cast<Type*>(base::internal::WaitForInstance(&instance_));
      }
    }
  }

 private:
  static base::subtle::AtomicWord instance_;
};

template <typename Type, typename Traits, typename DifferentiatingType>
base::subtle::AtomicWord Singleton<Type, Traits, DifferentiatingType>::instance_ = 0;

#endif  // BASE_MEMORY_SINGLETON_H_
