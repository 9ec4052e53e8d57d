#include "platform/linux/malloc_retention.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <vector>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

TEST(MallocRetention, FreedLargeBlockIsUnmapped) {
  if (posix_test::hasSanitizer) GTEST_SKIP() << "a sanitizer has its own allocator";
  limitMallocRetention();
  // Below 32 MiB, the maximum of the dynamic mmap threshold on 64-bit systems. A larger block does
  // not raise the threshold.
  constexpr std::size_t blockSize = std::size_t{16} * 1024 * 1024;
  const auto mappedBytes = [] { return ::mallinfo2().hblkhd; };
  const std::size_t before = mappedBytes();
  // Without the limit, malloc would raise its mmap threshold after the first round and keep the
  // next blocks in the heap (mallopt(3), M_MMAP_THRESHOLD).
  for (int round = 0; round < 3; ++round) {
    const std::vector<char> block(blockSize);
    EXPECT_GE(mappedBytes(), before + blockSize);
  }
  // Unmapping returns the memory to the system.
  EXPECT_EQ(mappedBytes(), before);
}

}  // namespace
}  // namespace orvel
