#include "base/private_folder.h"

#include <gtest/gtest.h>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

TEST(PrivateFolder, CreatedFolderAndParentsAreOnlyForOwner) {
  for (const mode_t mask : std::initializer_list<mode_t>{0, 022, 077, 0777}) {
    const TemporaryFolder folder;
    const fs::path parent = folder.path() / "parent";
    const ScopedUmask umask(mask);
    EXPECT_TRUE(createPrivateFolder(parent / "folder"));
    EXPECT_EQ(modeOf(parent), 0700U) << "umask " << std::oct << mask;
    EXPECT_EQ(modeOf(parent / "folder"), 0700U) << "umask " << std::oct << mask;
    ensurePrivateFolder(parent / "ensured");
    EXPECT_EQ(modeOf(parent / "ensured"), 0700U) << "umask " << std::oct << mask;
  }
}

TEST(PrivateFolder, OnlyEnsurePrivateFolderChangesExistingFolder) {
  for (const mode_t mode : std::initializer_list<mode_t>{0777, 0755, 0500}) {
    const TemporaryFolder folder;
    fs::permissions(folder.path(), fs::perms(mode));
    EXPECT_FALSE(createPrivateFolder(folder.path()));
    EXPECT_EQ(modeOf(folder.path()), mode);
    ensurePrivateFolder(folder.path());
    EXPECT_EQ(modeOf(folder.path()), 0700U) << "mode before " << std::oct << mode;
  }
}

TEST(PrivateFolder, FileAtPathIsUnchanged) {
  const TemporaryFolder folder;
  const std::string file = folder.file("file", "contents");
  fs::permissions(file, fs::perms(0644));
  for (const fs::path &path : {fs::path(file), fs::path(file) / "inside", fs::path()}) {
    EXPECT_FALSE(createPrivateFolder(path)) << path;
    ensurePrivateFolder(path);
  }
  EXPECT_EQ(modeOf(file), 0644U);
  EXPECT_EQ(contentsOf(file), "contents");
}

}  // namespace
}  // namespace orvel
