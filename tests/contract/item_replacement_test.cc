// What every platform promises of putting one folder in the place of another.

#include <gtest/gtest.h>

#include <fstream>
#include <memory>

#include "tests/contract/contract_platform.h"
#include "tests/support/folder_tree.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using posix_test::makeTree;
using posix_test::Tree;
using posix_test::treeOf;

class ItemReplacementContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  bool replace(const fs::path &original, const fs::path &replacement) {
    return platform_->ports().locations.replaceItem(original.string(), replacement.string());
  }
  void expectReplaced(const fs::path &original, const fs::path &replacement) {
    makeTree(original, "old");
    const Tree expected = makeTree(replacement, "new");
    const Tree neighbour = makeTree(original.parent_path() / "neighbour", "neighbour");
    EXPECT_TRUE(replace(original, replacement));
    EXPECT_EQ(treeOf(original), expected);
    EXPECT_FALSE(fs::exists(fs::symlink_status(replacement)));
    EXPECT_EQ(treeOf(original.parent_path() / "neighbour"), neighbour);
    EXPECT_EQ(entriesIn(original.parent_path()), 2);
  }
  static std::ptrdiff_t entriesIn(const fs::path &folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
  }
  /// Nothing in either place may have changed.
  void expectRefused(const fs::path &original, const fs::path &replacement) {
    const Tree before = treeOf(folder_.path());
    EXPECT_FALSE(replace(original, replacement)) << original << " by " << replacement;
    EXPECT_EQ(treeOf(folder_.path()), before) << original << " by " << replacement;
  }

  const TemporaryFolder folder_;
  const fs::path original_ = folder_.path() / "Applications" / "Orvel OS.app";
  const fs::path replacement_ = folder_.path() / "unpacked" / "Orvel OS.app";
  std::unique_ptr<ContractPlatform> platform_ = GetParam().make();
};

TEST_P(ItemReplacementContract, PutsAWholeFolderInThePlace) {
  expectReplaced(original_, replacement_);
}

TEST_P(ItemReplacementContract, WorksAgainAndAgain) {
  expectReplaced(original_, replacement_);
  for (const std::string owner : {"first", "second"}) {
    const Tree expected = makeTree(replacement_, owner);
    EXPECT_TRUE(replace(original_, replacement_));
    EXPECT_EQ(treeOf(original_), expected);
  }
}

TEST_P(ItemReplacementContract, ReachesAcrossFileSystems) {
  const auto elsewhere = posix_test::folderOnAnotherFileSystem();
  if (!elsewhere) GTEST_SKIP() << "there is no second file system to write to";
  expectReplaced(original_, elsewhere->path() / "unpacked" / "Orvel OS.app");
  fs::remove_all(elsewhere->path() / "unpacked");
  expectReplaced(elsewhere->path() / "Applications" / "Orvel OS.app", replacement_);
}

TEST_P(ItemReplacementContract, TakesNamesAsTheyAre) {
  for (const std::string name : {"blanks  and 'quotes'", "\"double\" `back`", "line\nbreak",
                                 "$(reboot)", "-rf", "caf\xC3\xA9", "\xFF not UTF-8", "a%20b"}) {
    const fs::path folder = folder_.path() / "names" / name;
    std::error_code error;
    // Not every file system has names that are no text.
    if (!fs::create_directories(folder, error) && error == std::errc::illegal_byte_sequence)
      continue;
    expectReplaced(folder / name, folder_.path() / "unpacked" / name / "x");
  }
}

TEST_P(ItemReplacementContract, NeedsBothFolders) {
  const fs::path missing = folder_.path() / "missing";
  const Tree tree = makeTree(original_, "old");
  expectRefused(original_, missing);
  expectRefused(missing, original_);
  expectRefused(missing / "below", original_);
  expectRefused(original_, missing / "below");
  EXPECT_EQ(treeOf(original_), tree);
}

TEST_P(ItemReplacementContract, TakesNeitherFilesNorLinks) {
  makeTree(original_, "old");
  makeTree(replacement_, "new");
  const fs::path file = folder_.file("file", "x");
  const fs::path link = folder_.path() / "link";
  const fs::path toOriginal = folder_.path() / "to the original";
  fs::create_symlink(replacement_, link);
  fs::create_symlink(original_, toOriginal);
  expectRefused(original_, file);
  expectRefused(original_, link);
  expectRefused(file, replacement_);
  expectRefused(toOriginal, replacement_);
  expectRefused(toOriginal, link);
}

TEST_P(ItemReplacementContract, NeverReplacesAFolderByItself) {
  makeTree(original_, "old");
  expectRefused(original_, original_);
  expectRefused(original_, original_ / "." / "Contents" / "..");
}

TEST_P(ItemReplacementContract, LeavesOpenFilesOfTheOldFolderReadable) {
  makeTree(original_, "old");
  makeTree(replacement_, "new");
  std::ifstream information(original_ / "Contents" / "Info.plist");
  std::ifstream large(original_ / "Contents" / "Resources" / "large");
  EXPECT_TRUE(replace(original_, replacement_));
  const auto read = [](std::ifstream &file) {
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  EXPECT_EQ(read(information), "information of old");
  EXPECT_EQ(read(large), std::string(20'000, 'o'));
  EXPECT_EQ(posix_test::contentsOf(original_ / "Contents" / "Info.plist"), "information of new");
}

TEST_P(ItemReplacementContract, SaysBeforehandWhatCanBeReplaced) {
  const Locations &locations = platform_->ports().locations;
  makeTree(original_, "old");
  fs::create_symlink(original_, folder_.path() / "link");
  fs::create_symlink("missing", folder_.path() / "dangling");
  EXPECT_TRUE(locations.canReplaceItem(original_.string()));
  EXPECT_TRUE(locations.canReplaceItem((folder_.path() / "link").string()));
  EXPECT_FALSE(locations.canReplaceItem((folder_.path() / "dangling").string()));
  EXPECT_FALSE(locations.canReplaceItem((folder_.path() / "missing").string()));
  EXPECT_FALSE(locations.canReplaceItem(folder_.file("file", "x")));
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, ItemReplacementContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
