#include "platform/linux/malloc_retention.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <vector>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

/// Returns the resident memory of this process in bytes.
std::size_t residentMemory() {
  std::ifstream file("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  file >> total >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

TEST(MallocRetention, FreedMemoryIsReturnedToSystem) {
  if (posix_test::hasSanitizer) GTEST_SKIP() << "a sanitizer has its own allocator";
  limitMallocRetention();
  constexpr std::size_t blockSize = std::size_t{16} * 1024 * 1024;
  const std::size_t before = residentMemory();
  // From the second round on, malloc would raise its mmap threshold and keep the block.
  for (int round = 0; round < 3; ++round) {
    const std::vector<char> block(blockSize, 'x');
    EXPECT_GT(residentMemory(), before + blockSize / 2);
  }
  EXPECT_LT(residentMemory(), before + blockSize / 2);
}

}  // namespace
}  // namespace orvel
