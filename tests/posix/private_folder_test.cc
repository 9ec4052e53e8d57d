#include "base/private_folder.h"

#include <gtest/gtest.h>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

constexpr mode_t everyUmask[] = {0, 022, 077, 0777};

TEST(PrivateFolder, CreatedFolderAndParentsAreOnlyForOwner) {
  for (const mode_t mask : everyUmask) {
    const TemporaryFolder folder;
    const fs::path parent = folder.path() / "parent";
    const ScopedUmask umask(mask);
    EXPECT_TRUE(createPrivateFolder(parent / "folder"));
    EXPECT_EQ(modeOf(parent), 0700U) << std::oct << mask;
    EXPECT_EQ(modeOf(parent / "folder"), 0700U) << std::oct << mask;
  }
}

TEST(PrivateFolder, OnlyEnsureChangesExistingFolder) {
  for (const mode_t mode : std::initializer_list<mode_t>{0777, 0755, 0500}) {
    const TemporaryFolder folder;
    fs::permissions(folder.path(), fs::perms(mode));
    EXPECT_FALSE(createPrivateFolder(folder.path()));
    EXPECT_EQ(modeOf(folder.path()), mode);
    ensurePrivateFolder(folder.path());
    EXPECT_EQ(modeOf(folder.path()), 0700U) << std::oct << mode;
  }
}

TEST(PrivateFolder, EnsureCreatesMissingFolder) {
  const TemporaryFolder folder;
  ensurePrivateFolder(folder.path() / "missing");
  EXPECT_EQ(modeOf(folder.path() / "missing"), 0700U);
}

TEST(PrivateFolder, FileAtPathIsUnchanged) {
  const TemporaryFolder folder;
  const std::string file = folder.file("file", "contents");
  fs::permissions(file, fs::perms(0644));
  for (const fs::path &path : {fs::path(file), fs::path(file) / "below", fs::path()}) {
    EXPECT_FALSE(createPrivateFolder(path)) << path;
    ensurePrivateFolder(path);
  }
  EXPECT_EQ(modeOf(file), 0644U);
  EXPECT_EQ(contentsOf(file), "contents");
}

}  // namespace
}  // namespace orvel
