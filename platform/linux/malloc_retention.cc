#include "platform/linux/malloc_retention.h"

#include <malloc.h>

namespace orvel {

void limitMallocRetention() {
  // Setting a threshold switches off its dynamic adjustment (mallopt(3)).
  constexpr int thresholdBytes = 1024 * 1024;
  ::mallopt(M_MMAP_THRESHOLD, thresholdBytes);
  ::mallopt(M_TRIM_THRESHOLD, thresholdBytes);
}

}  // namespace orvel
