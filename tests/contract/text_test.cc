#include "base/text.h"

#include <gmock/gmock.h>

#include <string>

namespace orvel {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Text, SplitAtFullStopsDropsEmptyPieces) {
  EXPECT_THAT(splitAtFullStops(""), IsEmpty());
  EXPECT_THAT(splitAtFullStops("..."), IsEmpty());
  EXPECT_THAT(splitAtFullStops("1"), ElementsAre("1"));
  EXPECT_THAT(splitAtFullStops("1.2.10"), ElementsAre("1", "2", "10"));
  EXPECT_THAT(splitAtFullStops(".1..2."), ElementsAre("1", "2"));
  EXPECT_THAT(splitAtFullStops(" . "), ElementsAre(" ", " "));
  EXPECT_THAT(splitAtFullStops("1\0.2"s), ElementsAre("1\0"s, "2"));
  EXPECT_THAT(splitAtFullStops("\u00E9\0.2.\u0301"s), ElementsAre("\u00E9\0"s, "2.\u0301"));
}

TEST(Text, NoSplitAtCharactersSimilarToFullStop) {
  for (const std::string other : {"\u3002", "\uFF0E", "\u2024", "\u00B7", ",", "\u2026"}) {
    EXPECT_THAT(splitAtFullStops("1" + other + "2"), ElementsAre("1" + other + "2"));
  }
}

TEST(Text, NoSplitAtFullStopWithinGraphemeCluster) {
  // The full stop is followed by a combining mark, variation selector, joiner or enclosing mark.
  for (const std::string mark : {"\u0301", "\u0308", "\uFE0F", "\u200D", "\u20E3", "\u0903"}) {
    EXPECT_THAT(splitAtFullStops("1." + mark + "2"), ElementsAre("1." + mark + "2"));
    EXPECT_THAT(splitAtFullStops("." + mark), ElementsAre("." + mark));
    EXPECT_THAT(splitAtFullStops("0.1." + mark + mark + "2.3"),
                ElementsAre("0", "1." + mark + mark + "2", "3"));
  }
  // The full stop follows a character with the property Grapheme_Cluster_Break=Prepend.
  for (const std::string prepended : {"\u0600", "\u06DD", "\U000110BD"}) {
    EXPECT_THAT(splitAtFullStops("1" + prepended + ".2"), ElementsAre("1" + prepended + ".2"));
  }
  EXPECT_THAT(splitAtFullStops("1\u0600.\u0301.2"), ElementsAre("1\u0600.\u0301", "2"));
}

TEST(Text, SplitAtFullStopBetweenGraphemeClusters) {
  EXPECT_THAT(splitAtFullStops("\u00E9.\u20AC.\U0001F600"),
              ElementsAre("\u00E9", "\u20AC", "\U0001F600"));
  EXPECT_THAT(splitAtFullStops("e\u0301.2"), ElementsAre("e\u0301", "2"));
  // An emoji sequence with joiners, and a flag made of two regional indicators.
  EXPECT_THAT(
      splitAtFullStops("\U0001F468\u200D\U0001F469\u200D\U0001F467.\U0001F1F3\U0001F1F1.3"),
      ElementsAre("\U0001F468\u200D\U0001F469\u200D\U0001F467", "\U0001F1F3\U0001F1F1", "3"));
  EXPECT_THAT(splitAtFullStops("\u0E01.\r\n.\u00E9"), ElementsAre("\u0E01", "\r\n", "\u00E9"));
  EXPECT_THAT(splitAtFullStops("\r.\n\u00E9"), ElementsAre("\r", "\n\u00E9"));
  // A combining mark after a line break begins a new grapheme cluster.
  EXPECT_THAT(splitAtFullStops("1.\n\u0301"), ElementsAre("1", "\n\u0301"));
}

TEST(Text, InvalidUtf8IsSplitAtFullStops) {
  EXPECT_THAT(splitAtFullStops("\xff.2"), ElementsAre("\xff", "2"));
  EXPECT_THAT(splitAtFullStops("1.\xcc.2"), ElementsAre("1", "\xcc", "2"));
  EXPECT_THAT(splitAtFullStops("\xe2\x82.\xf0\x9f"), ElementsAre("\xe2\x82", "\xf0\x9f"));
  EXPECT_THAT(splitAtFullStops("\xed\xa0\x80.\x80"), ElementsAre("\xed\xa0\x80", "\x80"));
}

// In quadratic time, this text would take hours.
TEST(Text, VeryLongTextIsSplit) {
  const std::string repeated = "1.2.\u0301\u0600.33333333.";
  std::string text;
  for (int count = 0; count < 500'000; ++count) text += repeated;
  EXPECT_EQ(splitAtFullStops(text).size(), 500'000 * splitAtFullStops(repeated).size());
}

TEST(Text, TrimRemovesOuterUnicodeWhiteSpaceAndRejectsInvalidUtf8) {
  for (const std::string space :
       {"\t", "\n", "\v", "\f", "\r", " ", "\u0085", "\u00A0", "\u1680", "\u2000", "\u2003",
        "\u2009", "\u200A", "\u2028", "\u2029", "\u202F", "\u205F", "\u3000"}) {
    EXPECT_EQ(trimmedText(space + "a" + space + "b" + space), "a" + space + "b");
    EXPECT_EQ(trimmedText(space + space), "");
  }
  EXPECT_EQ(trimmedText(" \r\n\u00A0\u0085 a  b \n\n"), "a  b");
  EXPECT_EQ(trimmedText(""), "");
  EXPECT_EQ(trimmedText(" \n "), "");
  EXPECT_EQ(trimmedText("\u200Bx\uFEFF"), "\u200Bx\uFEFF");
  EXPECT_EQ(trimmedText(" \xff "), std::nullopt);
  EXPECT_EQ(trimmedText("x\xc3"), std::nullopt);
}

}  // namespace
}  // namespace orvel
