#include "app/invariant.h"

#include <gtest/gtest.h>

#include <csignal>

namespace orvel {
namespace {

TEST(Invariant, FatalErrorWritesReasonAndAborts) {
  EXPECT_EXIT(fatalError("the reason"), testing::KilledBySignal(SIGABRT),
              "^Orvel OS: the reason\n$");
}

}  // namespace
}  // namespace orvel
