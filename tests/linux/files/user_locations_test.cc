// The user's folders in a Linux session.

#include "platform/linux/files/user_locations.h"

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"

namespace orvel {
namespace {

TEST(UserLocations, OnlyFileWithExecutePermissionIsExecutable) {
  const TemporaryFolder folder;
  const UserLocations locations(folder.path());
  EXPECT_TRUE(locations.isExecutableFile(folder.file("program", "#!/bin/sh\n", true)));
  EXPECT_FALSE(locations.isExecutableFile(folder.file("text", "x")));
  EXPECT_FALSE(locations.isExecutableFile(folder.path()));
  EXPECT_FALSE(locations.isExecutableFile(folder.path() / "missing"));
}

TEST(UserLocations, DownloadFolderIsAbsoluteWithoutTrailingSlash) {
  const std::string folder = UserLocations("/nowhere").downloads();
  EXPECT_TRUE(folder.starts_with('/')) << folder;
  EXPECT_FALSE(folder.ends_with('/')) << folder;
}

TEST(UserLocations, TemporaryFolderIsCreatedForOwnerOnly) {
  const TemporaryFolder folder;
  const std::string temporary = folder.path() / "of the" / "user";
  const UserLocations locations(temporary);
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ(locations.temporary(), temporary);
    EXPECT_EQ(std::filesystem::status(temporary).permissions(), std::filesystem::perms::owner_all);
  }
}

}  // namespace
}  // namespace orvel
