#pragma once

namespace orvel {

/// Makes malloc return freed memory to the system. glibc raises its own thresholds to the
/// size of the largest freed block, such as the buffer of a window, and then keeps most of
/// the memory that the start-up has used. Call it while the process has one thread.
void limitMallocRetention();

}  // namespace orvel
