#include "platform/linux/malloc_retention.h"

#include <malloc.h>

namespace orvel {

void limitMallocRetention() {
#if defined(__GLIBC__)
  // In bytes. A limit that has been set is no longer moved (mallopt(3)).
  constexpr int atOnce = 1024 * 1024;
  ::mallopt(M_MMAP_THRESHOLD, atOnce);
  ::mallopt(M_TRIM_THRESHOLD, atOnce);
#endif
}

}  // namespace orvel
