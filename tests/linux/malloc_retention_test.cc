#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <fstream>
#include <vector>

#include "platform/linux/malloc_retention.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

/// How much memory this process has in fact, in bytes.
std::size_t residentMemory() {
  std::ifstream file("/proc/self/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  file >> total >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

using posix_test::hasSanitizer;

TEST(LinuxMemory, WhatIsFreedGoesBackToTheSystem) {
  if (hasSanitizer) GTEST_SKIP() << "its allocator is another one";
  giveFreedMemoryBack();
  constexpr std::size_t picture = std::size_t{16} * 1024 * 1024;
  const std::size_t before = residentMemory();
  // From the second one on the library would keep them.
  for (int round = 0; round < 3; ++round) {
    const std::vector<char> pixels(picture, 'x');
    EXPECT_GT(residentMemory(), before + picture / 2);
  }
  EXPECT_LT(residentMemory(), before + picture / 2);
}

}  // namespace
}  // namespace orvel
