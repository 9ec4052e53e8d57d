// The user's folders as the Linux session gives them.

#include "platform/linux/files/user_locations.h"

#include <gtest/gtest.h>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

TEST(UserLocations, KnowsAnExecutableFile) {
  const TemporaryFolder folder;
  const UserLocations locations(folder.path().string());
  EXPECT_TRUE(locations.isExecutableFile(folder.file("program", "#!/bin/sh\n", true)));
  EXPECT_FALSE(locations.isExecutableFile(folder.file("text", "x")));
  EXPECT_FALSE(locations.isExecutableFile(folder.path().string()));
  EXPECT_FALSE(locations.isExecutableFile((folder.path() / "missing").string()));
}

TEST(UserLocations, DownloadsLieInAFolderOfTheUser) {
  const std::string folder = UserLocations("/nowhere").downloads();
  EXPECT_TRUE(folder.starts_with('/')) << folder;
  EXPECT_FALSE(folder.ends_with('/')) << folder;
}

TEST(UserLocations, MakesTheTemporaryFolderForTheUserAlone) {
  const TemporaryFolder folder;
  const std::string temporary = (folder.path() / "of the" / "user").string();
  const UserLocations locations(temporary);
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ(locations.temporary(), temporary);
    EXPECT_EQ(std::filesystem::status(temporary).permissions(), std::filesystem::perms::owner_all);
  }
}

}  // namespace
}  // namespace orvel
