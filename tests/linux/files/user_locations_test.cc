#include "platform/linux/files/user_locations.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/linux/files/forked_child.h"
#include "tests/support/posix_test_support.h"

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

TEST(UserLocations, HomeAndDownloadFolderAreAbsoluteWithoutTrailingSlash) {
  struct Row {
    const char *homeVariable;
    const char *home;
  };
  for (const Row &row : {Row{"/home/me", "/home/me"}, Row{"/home/me/", "/home/me"},
                         Row{"/home/me//", "/home/me"}, Row{"/", "/"}}) {
    // In a child, because GLib reads HOME only once.
    EXPECT_EQ(posix_test::runInChild([&row] {
                ::setenv("HOME", row.homeVariable, 1);
                const UserLocations locations("/unused temporary folder");
                const std::string downloads = locations.downloads();
                return locations.home() == row.home && downloads.starts_with('/') &&
                       !downloads.ends_with('/');
              }),
              true)
        << row.homeVariable;
  }
}

TEST(UserLocations, NewOrExistingTemporaryFolderGetsOwnerOnlyPermissions) {
  const TemporaryFolder folder;
  const std::string temporary = folder.path() / "missing" / "temporary";
  const UserLocations locations(temporary);
  // The first call creates the folder.
  for (int call = 0; call < 2; ++call) {
    EXPECT_EQ(locations.temporary(), temporary);
    EXPECT_EQ(posix_test::modeOf(temporary), 0700U);
    std::filesystem::permissions(temporary, std::filesystem::perms(0777));
  }
}

}  // namespace
}  // namespace orvel
