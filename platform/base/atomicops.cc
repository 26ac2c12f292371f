#include "base/atomicops.h"

namespace base {
namespace subtle {

int pLinuxKernelCmpxchg(AtomicWord old_value, AtomicWord new_value, AtomicWord* ptr) {
  AtomicWord expected = old_value;
  const bool swapped = __atomic_compare_exchange_n(ptr, &expected, new_value, false,
                                                   __ATOMIC_SEQ_CST, __ATOMIC_SEQ_CST);
  return swapped ? 0 : 1;
}

void pLinuxKernelMemoryBarrier() {
  __atomic_thread_fence(__ATOMIC_SEQ_CST);
}

AtomicWord Acquire_Load(const AtomicWord* ptr) {
  return __atomic_load_n(ptr, __ATOMIC_ACQUIRE);
}

void Release_Store(AtomicWord* ptr, AtomicWord value) {
  __atomic_store_n(ptr, value, __ATOMIC_RELEASE);
}

}  // namespace subtle
}  // namespace base
