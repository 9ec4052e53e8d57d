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

TEST(CommandLine, PathWithSingleQuoteHasNoCommandLine) {
  for (const std::string path : {"'", "a'b", "'; rm -rf ~; '"}) {
    EXPECT_EQ(singleQuoted(path), std::nullopt);
    EXPECT_EQ(commandLine({"a ", ""}, {path}), std::nullopt);
    EXPECT_EQ(commandLine({"a ", ""}, {"b", path}), std::nullopt);
  }
}

TEST(CommandLine, PathsStandBetweenCommandParts) {
  EXPECT_EQ(commandLine({"a ", " z"}, {"x y", "{z"}), "a 'x y' '{z' z");
  EXPECT_EQ(commandLine({"a {x ", "} b"}, {"c"}), "a {x 'c'} b");
  EXPECT_EQ(commandLine({"a", "b"}, {}), "ab");
}

TEST(CommandLine, MacosCommandsHaveExactText) {
  EXPECT_EQ(commandLine(macosEdition.unpack, {"/t/a.zip", "/t/w"}),
            "/usr/bin/ditto -x -k '/t/a.zip' '/t/w'");
  EXPECT_EQ(commandLine(macosEdition.clearQuarantine, {"/t/w/Orvel OS.app"}),
            "/usr/bin/xattr -dr com.apple.quarantine '/t/w/Orvel OS.app'");
  EXPECT_EQ(commandLine(macosEdition.relaunch, {"/Applications/Orvel OS.app"}),
            "(sleep 1; /usr/bin/open -n '/Applications/Orvel OS.app') >/dev/null 2>&1 &");
  EXPECT_EQ(macosEdition.manifestPath, "download/mac.json");
}

TEST(CommandLine, LinuxCommandsHaveExactText) {
  EXPECT_TRUE(linuxEdition.unpack.isEmpty());
  EXPECT_TRUE(linuxEdition.clearQuarantine.isEmpty());
  EXPECT_EQ(commandLine(linuxEdition.relaunch, {"/opt/Orvel OS.app"}),
            "unsetopt bgnice; (while [ -e /proc/$PPID/exe ]; do sleep 0.1; done; exec setsid "
            "'/opt/Orvel OS.app'/Contents/Linux/orvel-os) </dev/null >/dev/null 2>&1 &");
  EXPECT_EQ(linuxEdition.manifestPath, "download/linux.json");
  EXPECT_EQ(linuxEdition.name, "linux");
  EXPECT_EQ(linuxEdition.translocationFolder, "");
}

}  // namespace
}  // namespace orvel
