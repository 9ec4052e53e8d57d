#include "update/command_line.h"

#include <gtest/gtest.h>

#include <string>

namespace orvel {
namespace {

TEST(CommandLine, PathIsSingleQuotedWithoutChanges) {
  EXPECT_EQ(singleQuoted("x  y"), "'x  y'");
  EXPECT_EQ(singleQuoted(""), "''");
  EXPECT_EQ(singleQuoted("$(x) `y` \\ \"z\" {a} {\n"), "'$(x) `y` \\ \"z\" {a} {\n'");
}

// The commands of these tests have two parts: the texts before and after the paths.
TEST(CommandLine, PathWithSingleQuoteHasNoCommandLine) {
  for (const std::string path : {"'", "a'b", "'; rm -rf ~; '"}) {
    EXPECT_EQ(singleQuoted(path), std::nullopt);
    EXPECT_EQ(commandLine({"a ", ""}, {path}), std::nullopt);
    EXPECT_EQ(commandLine({"a ", ""}, {"b", path}), std::nullopt);
  }
}

TEST(CommandLine, PathsStandBetweenCommandParts) {
  // Braces are ordinary characters and no placeholders.
  EXPECT_EQ(commandLine({"a ", " z"}, {"x y", "{z"}), "a 'x y' '{z' z");
  EXPECT_EQ(commandLine({"a {x ", "} b"}, {"c"}), "a {x 'c'} b");
  EXPECT_EQ(commandLine({"a", "b"}, {}), "ab");
}

}  // namespace
}  // namespace orvel
