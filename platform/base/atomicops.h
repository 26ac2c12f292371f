// Word-sized atomic operations. On the device these are the kernel's user helpers; here
// they are the compiler's atomic builtins, which give the same guarantees on x86-64 and
// on ARMv7 (ldrex/strex with dmb).

#ifndef BASE_ATOMICOPS_H_
#define BASE_ATOMICOPS_H_

#include <cstdint>

namespace base {
namespace subtle {

// A machine word, wide enough for a pointer.
typedef intptr_t AtomicWord;

// If |*ptr| holds |old_value|, replaces it with |new_value|. Returns 0 when the swap was
// made and non-zero when it was not. Acts as a full memory barrier.
int pLinuxKernelCmpxchg(AtomicWord old_value, AtomicWord new_value, AtomicWord* ptr);

// A full memory barrier.
void pLinuxKernelMemoryBarrier();

AtomicWord Acquire_Load(const AtomicWord* ptr);
void Release_Store(AtomicWord* ptr, AtomicWord value);

}  // namespace subtle
}  // namespace base

#endif  // BASE_ATOMICOPS_H_
