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
#if defined(__SANITIZE_THREAD__)
  // ThreadSanitizer does not model fences; a sequentially consistent read-modify-write is
  // a full barrier on every target and one it understands.
  static int fence_word = 0;
  __atomic_fetch_add(&fence_word, 0, __ATOMIC_SEQ_CST);
#else
  __atomic_thread_fence(__ATOMIC_SEQ_CST);
#endif
}

AtomicWord Acquire_Load(const AtomicWord* ptr) {
  return __atomic_load_n(ptr, __ATOMIC_ACQUIRE);
}

void Release_Store(AtomicWord* ptr, AtomicWord value) {
  __atomic_store_n(ptr, value, __ATOMIC_RELEASE);
}

}  // namespace subtle
}  // namespace base
