#include "base/memory/singleton.h"

#include <sched.h>

namespace base {
namespace internal {

subtle::AtomicWord WaitForInstance(subtle::AtomicWord* instance) {
  for (;;) {
    const subtle::AtomicWord value = subtle::Acquire_Load(instance);
    if (value != kBeingCreatedMarker)
      return value;
    sched_yield();
  }
}

}  // namespace internal
}  // namespace base
