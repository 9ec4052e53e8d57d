#include "update/version.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace orvel {
namespace {

TEST(Version, VersionsAreComparedNumberByNumber) {
  struct Row {
    std::string candidate;
    std::string reference;
    bool isNewer;
  };
  const std::vector<Row> rows{
      {"1.2.10", "1.2.9", true},
      {"1.10", "1.9", true},
      {"1.9", "1.10", false},
      {"1.2", "1.2", false},
      {"1.2", "1.2.0", false},
      {"1.2.0", "1.2", false},
      {"1.2.0.1", "1.2", true},
      {"2", "1.9.9", true},
      {"1.0", "0", true},
      {"0.0.1", "0", true},
      {"010", "9", true},
      {"1.2.1", "1.1.9", true},
      {"1.1.9", "1.2.1", false},
      {"3.0", "2.9", true},
      {"1.0.0.0.0.0.0.0.1", "1", true},
      // Empty pieces are ignored.
      {"1..2", "1.2", false},
      {"1.2", "1..2", false},
      {".1", "1", false},
      {"1.", "1", false},
      {"...", "0", false},
      {"", "0", false},
      {"0", "", false},
      {"", "", false},
      {"1", "", true},
      {"", "-1", true},
      {"...2", "1", true},
      // A number outside 64 bits counts as 0.
      {"99999999999999999999", "1", false},
      {"9223372036854775807", "9223372036854775806", true},
      {"9223372036854775808", "0", false},
      {"+9223372036854775807", "1", true},
      {"0", "-9223372036854775808", true},
      {"-9223372036854775808", "-9223372036854775807", false},
      {"0", "-9223372036854775809", false},
      {"0000000000000000000000000000002", "1", true},
      // One sign may precede a number. A piece that is not a number counts as 0.
      {"0", "+-2", false},
      {"+-2", "0", false},
      {"0", "-+2", false},
      {"++2", "0", false},
      {"0", "--2", false},
      {"+2", "1", true},
      {"0", "-2", true},
      // A combining acute accent (U+0301) forms one grapheme cluster with the character before it,
      // and an Arabic number sign (U+0600) forms one with the character after it. A full stop in
      // such a cluster separates no pieces, and a piece that contains such a cluster is not a
      // number.
      {"2.\u03010", "1", false},
      {"2\u0600.0", "1", false},
      // This accent belongs to the 2, so the full stop after it separates. The piece counts as 0.
      {"1.2\u0301.5", "1.0.4", true},
      // Invalid UTF-8 splits at every full stop.
      {"\xff.2", "0.1", true},
      {"2.\xff", "1", true},
  };
  for (const auto &[candidate, reference, isNewer] : rows) {
    EXPECT_EQ(nieuwer(candidate, reference), isNewer) << candidate << " against " << reference;
  }
}

TEST(Version, LongVersionsAreCompared) {
  std::string longVersion = "1";
  for (int piece = 0; piece < 500'000; ++piece) longVersion += ".0";
  EXPECT_FALSE(nieuwer(longVersion, "1"));
  EXPECT_TRUE(nieuwer(longVersion + ".1", longVersion));
  const std::string digits(5'000'000, '0');
  EXPECT_TRUE(nieuwer(digits + "2", "1"));
}

}  // namespace
}  // namespace orvel
