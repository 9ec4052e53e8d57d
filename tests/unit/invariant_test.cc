#include "app/invariant.h"

#include <gtest/gtest.h>

#include <csignal>

namespace orvel {
namespace {

TEST(FatalError, writesItsReasonOnALineOfItsOwnAndAborts) {
  EXPECT_EXIT(fatalError("de reden"), testing::KilledBySignal(SIGABRT), "^Orvel OS: de reden\n$");
}

}  // namespace
}  // namespace orvel
