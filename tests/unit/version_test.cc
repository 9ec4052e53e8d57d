#include "update/version.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace orvel {
namespace {

using Row = std::tuple<std::string, std::string, bool>;

class Nieuwer : public testing::TestWithParam<Row> {};

TEST_P(Nieuwer, followsTheTable) {
  const auto &[candidate, reference, later] = GetParam();
  EXPECT_EQ(nieuwer(candidate, reference), later) << candidate << " against " << reference;
}

INSTANTIATE_TEST_SUITE_P(numbers, Nieuwer,
                         testing::Values(Row{"1.2.10", "1.2.9", true}, Row{"1.10", "1.9", true},
                                         Row{"1.9", "1.10", false}, Row{"1.2", "1.2", false},
                                         Row{"1.2", "1.2.0", false}, Row{"1.2.0", "1.2", false},
                                         Row{"1.2.0.1", "1.2", true}, Row{"2", "1.9.9", true},
                                         Row{"1.0", "0", true}, Row{"0.0.1", "0", true},
                                         Row{"010", "9", true}, Row{"1.2.1", "1.1.9", true},
                                         Row{"1.1.9", "1.2.1", false}, Row{"3.0", "2.9", true},
                                         Row{"1.0.0.0.0.0.0.0.1", "1", true}));

INSTANTIATE_TEST_SUITE_P(pieces, Nieuwer,
                         testing::Values(Row{"1..2", "1.2", false}, Row{"1.2", "1..2", false},
                                         Row{".1", "1", false}, Row{"1.", "1", false},
                                         Row{"...", "0", false}, Row{"", "0", false},
                                         Row{"0", "", false}, Row{"", "", false},
                                         Row{"1", "", true}, Row{"", "-1", true},
                                         Row{"...2", "1", true}));

INSTANTIATE_TEST_SUITE_P(
    leniency, Nieuwer,
    testing::Values(Row{"1.3-beta", "1.2", false}, Row{"v2.0", "1.0", false}, Row{" 2", "1", false},
                    Row{"2 ", "1", false}, Row{"2\n", "1", false}, Row{"+2", "1", true},
                    Row{"1", "1.-1", true}, Row{"1.-1", "1", false}, Row{"+", "-1", true},
                    Row{"-", "0", false}, Row{"+-2", "1", false}, Row{"-+2", "0", false},
                    Row{"++2", "1", false}, Row{"--2", "0", false}, Row{"-0", "0", false},
                    Row{"0x10", "1", false}, Row{"1e3", "1", false}, Row{"1,5", "1", false},
                    // Digits of other scripts are none here.
                    Row{"\u0663", "1", false}, Row{"\uff13", "1", false},
                    Row{std::string("2\0", 2), "1", false}));

INSTANTIATE_TEST_SUITE_P(limits, Nieuwer,
                         testing::Values(Row{"99999999999999999999", "1", false},
                                         Row{"9223372036854775807", "9223372036854775806", true},
                                         Row{"9223372036854775808", "0", false},
                                         Row{"+9223372036854775807", "1", true},
                                         Row{"0", "-9223372036854775808", true},
                                         Row{"-9223372036854775808", "-9223372036854775807", false},
                                         Row{"0", "-9223372036854775809", false},
                                         Row{"0000000000000000000000000000002", "1", true}));

INSTANTIATE_TEST_SUITE_P(characters, Nieuwer,
                         testing::Values(
                             // A full stop with a combining acute accent is another character, and
                             // so the piece is no number.
                             Row{"1.\u0301"
                                 "2",
                                 "1", false},
                             Row{"2.\u0301"
                                 "0",
                                 "1", false},
                             Row{"0",
                                 "1.\u0301"
                                 "2",
                                 false},
                             // After a prepending character (Arabic number sign) it does not stand
                             // alone either.
                             Row{"2\u0600.0", "1", false}, Row{"1.2\u0301.5", "1.0.4", true},
                             // Text that is not UTF-8 still compares.
                             Row{"\xff.2", "0.1", true}, Row{"2.\xff", "1", true}));

TEST(NieuwerOfLongTexts, hasNoLimitOnPieces) {
  std::string longest = "1";
  for (int piece = 0; piece < 500'000; ++piece) longest += ".0";
  EXPECT_FALSE(nieuwer(longest, "1"));
  EXPECT_TRUE(nieuwer(longest + ".1", longest));
  const std::string digits(5'000'000, '0');
  EXPECT_TRUE(nieuwer(digits + "2", "1"));
}

}  // namespace
}  // namespace orvel
