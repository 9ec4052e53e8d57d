#include "base/edition.h"

#include <gtest/gtest.h>

#include "update/command_line.h"

namespace orvel {
namespace {

TEST(Edition, MacosUsesSystemToolsAndKeepsOtherWorkingFolders) {
  EXPECT_EQ(commandLine(macosEdition.unpack, {"/t/a.zip", "/t/w"}),
            "/usr/bin/ditto -x -k '/t/a.zip' '/t/w'");
  EXPECT_EQ(commandLine(macosEdition.clearQuarantine, {"/t/w/Orvel OS.app"}),
            "/usr/bin/xattr -dr com.apple.quarantine '/t/w/Orvel OS.app'");
  EXPECT_EQ(commandLine(macosEdition.relaunch, {"/Applications/Orvel OS.app"}),
            "(sleep 1; /usr/bin/open -n '/Applications/Orvel OS.app') >/dev/null 2>&1 &");
  EXPECT_EQ(macosEdition.manifestPath, "download/mac.json");
  EXPECT_EQ(macosEdition.name, "mac");
  EXPECT_EQ(macosEdition.translocationFolder, "/AppTranslocation/");
  EXPECT_FALSE(macosEdition.removesOtherWorkingFolders);
}

TEST(Edition, LinuxUnpacksWithoutCommandAndRemovesOtherWorkingFolders) {
  EXPECT_TRUE(linuxEdition.unpack.isEmpty());
  EXPECT_TRUE(linuxEdition.clearQuarantine.isEmpty());
  EXPECT_EQ(commandLine(linuxEdition.relaunch, {"/opt/Orvel OS.app"}),
            "unsetopt bgnice; (while [ -e /proc/$PPID/exe ]; do sleep 0.1; done; exec setsid "
            "'/opt/Orvel OS.app'/Contents/Linux/orvel-os) </dev/null >/dev/null 2>&1 &");
  EXPECT_EQ(linuxEdition.manifestPath, "download/linux.json");
  EXPECT_EQ(linuxEdition.name, "linux");
  EXPECT_EQ(linuxEdition.translocationFolder, "");
  EXPECT_TRUE(linuxEdition.removesOtherWorkingFolders);
}

}  // namespace
}  // namespace orvel
