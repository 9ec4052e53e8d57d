#include "code/sample.h"

#include <gtest/gtest.h>

TEST(Greater, ReturnsTheGreaterNumber) {
  EXPECT_EQ(greater(1, 2), 2);
  EXPECT_EQ(greater(2, 1), 2);
}

// The age of 18 is not tested, so mutants of the bound survive.
TEST(Adult, DistinguishesChildrenFromAdults) {
  EXPECT_TRUE(isAdult(30));
  EXPECT_FALSE(isAdult(10));
}

TEST(Adult, GreetsByName) { EXPECT_EQ(greeting("Ada"), "Hello Ada"); }
