// The contract of replacing one folder by another.

#include <fstream>

#include "tests/contract/contract_platform.h"
#include "tests/support/folder_tree.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

class ItemReplacementContract : public ContractTest {
 protected:
  bool replace(const fs::path &original, const fs::path &replacement) {
    return platform->interfaces().locations.replaceItem(original, replacement);
  }
  void expectReplaced(const fs::path &original, const fs::path &replacement) {
    makeTree(original, "old");
    const Tree expected = makeTree(replacement, "new");
    const Tree neighbour = makeTree(original.parent_path() / "neighbour", "neighbour");
    EXPECT_TRUE(replace(original, replacement));
    EXPECT_EQ(treeOf(original), expected);
    EXPECT_FALSE(fs::exists(fs::symlink_status(replacement)));
    EXPECT_EQ(treeOf(original.parent_path() / "neighbour"), neighbour);
    EXPECT_EQ(entryCount(original.parent_path()), 2);
  }
  /// Expects that the replacement fails and changes nothing.
  void expectRefused(const fs::path &original, const fs::path &replacement) {
    const Tree before = treeOf(folder_.path());
    EXPECT_FALSE(replace(original, replacement)) << original << " by " << replacement;
    EXPECT_EQ(treeOf(folder_.path()), before) << original << " by " << replacement;
  }

  const TemporaryFolder folder_;
  const fs::path original_ = folder_.path() / "Applications" / "Orvel OS.app";
  const fs::path replacement_ = folder_.path() / "unpacked" / "Orvel OS.app";
};

TEST_P(ItemReplacementContract, FolderIsReplacedByFolder) {
  expectReplaced(original_, replacement_);
}

TEST_P(ItemReplacementContract, FolderIsReplacedRepeatedly) {
  expectReplaced(original_, replacement_);
  for (const std::string owner : {"first", "second"}) {
    const Tree expected = makeTree(replacement_, owner);
    EXPECT_TRUE(replace(original_, replacement_));
    EXPECT_EQ(treeOf(original_), expected);
  }
}

TEST_P(ItemReplacementContract, FolderIsReplacedAcrossFileSystems) {
  const auto elsewhere = folderOnAnotherFileSystem();
  if (!elsewhere) GTEST_SKIP() << "no second writable file system";
  expectReplaced(original_, elsewhere->path() / "unpacked" / "Orvel OS.app");
  fs::remove_all(elsewhere->path() / "unpacked");
  expectReplaced(elsewhere->path() / "Applications" / "Orvel OS.app", replacement_);
}

TEST_P(ItemReplacementContract, SpecialCharactersInNamesAreKept) {
  for (const std::string name : {"blanks  and 'quotes'", "\"double\" `back`", "line\nbreak",
                                 "$(reboot)", "-rf", "caf\xC3\xA9", "\xFF not UTF-8", "a%20b"}) {
    const fs::path folder = folder_.path() / "names" / name;
    std::error_code error;
    // APFS rejects names that are not UTF-8 with EILSEQ.
    if (!fs::create_directories(folder, error) && error == std::errc::illegal_byte_sequence)
      continue;
    expectReplaced(folder / name, folder_.path() / "unpacked" / name / "x");
  }
}

TEST_P(ItemReplacementContract, MissingFolderIsRefused) {
  const fs::path missing = folder_.path() / "missing";
  const Tree tree = makeTree(original_, "old");
  expectRefused(original_, missing);
  expectRefused(missing, original_);
  expectRefused(missing / "below", original_);
  expectRefused(original_, missing / "below");
  EXPECT_EQ(treeOf(original_), tree);
}

TEST_P(ItemReplacementContract, FileOrLinkIsRefused) {
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

TEST_P(ItemReplacementContract, ReplacingFolderByItselfIsRefused) {
  makeTree(original_, "old");
  expectRefused(original_, original_);
  expectRefused(original_, original_ / "." / "Contents" / "..");
}

TEST_P(ItemReplacementContract, OpenFilesOfReplacedFolderStayReadable) {
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
  EXPECT_EQ(contentsOf(original_ / "Contents" / "Info.plist"), "information of new");
}

TEST_P(ItemReplacementContract, OnlyExistingFolderCanBeReplaced) {
  const Locations &locations = platform->interfaces().locations;
  makeTree(original_, "old");
  fs::create_symlink(original_, folder_.path() / "link");
  fs::create_symlink("missing", folder_.path() / "dangling");
  EXPECT_TRUE(locations.canReplaceItem(original_));
  EXPECT_TRUE(locations.canReplaceItem(folder_.path() / "link"));
  EXPECT_FALSE(locations.canReplaceItem(folder_.path() / "dangling"));
  EXPECT_FALSE(locations.canReplaceItem(folder_.path() / "missing"));
  EXPECT_FALSE(locations.canReplaceItem(folder_.file("file", "x")));
}

INSTANTIATE_ON_EVERY_PLATFORM(ItemReplacementContract);

}  // namespace
}  // namespace orvel
