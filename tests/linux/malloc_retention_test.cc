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
  constexpr std::size_t blockSize = std::size_t{16} * 1024 * 1024;
  const std::size_t before = ::mallinfo2().hblkhd;
  // After the first round, malloc would raise its mmap threshold and keep the next blocks in
  // the heap (mallopt(3), M_MMAP_THRESHOLD).
  for (int round = 0; round < 3; ++round) {
    const std::vector<char> block(blockSize);
    EXPECT_GE(::mallinfo2().hblkhd, before + blockSize);
  }
  // Unmapping returns the memory to the system.
  EXPECT_EQ(::mallinfo2().hblkhd, before);
}

}  // namespace
}  // namespace orvel
