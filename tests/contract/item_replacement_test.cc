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
  /// Creates both folders and a neighbour of the original, and replaces the original. Expects
  /// the new contents at the original path and an unchanged neighbour.
  void createFoldersAndExpectReplaced(const fs::path &original, const fs::path &replacement) {
    SCOPED_TRACE(original);
    makeTree(original, "old");
    const Tree expected = makeTree(replacement, "new");
    const Tree neighbour = makeTree(original.parent_path() / "neighbour", "neighbour");
    EXPECT_TRUE(replace(original, replacement));
    EXPECT_EQ(treeOf(original), expected);
    EXPECT_FALSE(fs::exists(fs::symlink_status(replacement)));
    EXPECT_EQ(treeOf(original.parent_path() / "neighbour"), neighbour);
    // The new folder and the neighbour: no temporary folder is left.
    EXPECT_EQ(entryCount(original.parent_path()), 2);
  }
  /// Expects that the replacement fails and changes nothing.
  void expectRefusedWithoutChange(const fs::path &original, const fs::path &replacement) {
    const Tree before = treeOf(folder_.path());
    EXPECT_FALSE(replace(original, replacement)) << original << " by " << replacement;
    EXPECT_EQ(treeOf(folder_.path()), before) << original << " by " << replacement;
  }

  const TemporaryFolder folder_;
  const fs::path original_ = folder_.path() / "Applications" / "Orvel OS.app";
  const fs::path replacement_ = folder_.path() / "unpacked" / "Orvel OS.app";
};

TEST_P(ItemReplacementContract, FolderIsReplacedRepeatedly) {
  createFoldersAndExpectReplaced(original_, replacement_);
  for (const std::string label : {"first", "second"}) {
    const Tree expected = makeTree(replacement_, label);
    EXPECT_TRUE(replace(original_, replacement_));
    EXPECT_EQ(treeOf(original_), expected);
  }
}

TEST_P(ItemReplacementContract, FolderIsReplacedAcrossFileSystems) {
  const auto otherFileSystem = folderOnAnotherFileSystem();
  if (!otherFileSystem) GTEST_SKIP() << "no second writable file system";
  createFoldersAndExpectReplaced(original_, otherFileSystem->path() / "unpacked" / "Orvel OS.app");
  fs::remove_all(otherFileSystem->path() / "unpacked");
  createFoldersAndExpectReplaced(otherFileSystem->path() / "Applications" / "Orvel OS.app",
                                 replacement_);
}

TEST_P(ItemReplacementContract, FolderWithSpecialCharactersInNameIsReplaced) {
  for (const std::string name : {"blanks  and 'quotes'", "\"double\" `back`", "line\nbreak",
                                 "$(reboot)", "-rf", "caf\xC3\xA9", "\xFF not UTF-8", "a%20b"}) {
    const fs::path folder = folder_.path() / "names" / name;
    std::error_code error;
    // APFS rejects names that are not UTF-8 with EILSEQ.
    if (!fs::create_directories(folder, error) && error == std::errc::illegal_byte_sequence)
      continue;
    createFoldersAndExpectReplaced(folder / name, folder_.path() / "unpacked" / name / "x");
  }
}

TEST_P(ItemReplacementContract, MissingFolderOrReplacementByItselfIsRefused) {
  const fs::path missing = folder_.path() / "missing";
  const Tree tree = makeTree(original_, "old");
  expectRefusedWithoutChange(original_, missing);
  expectRefusedWithoutChange(missing, original_);
  expectRefusedWithoutChange(missing / "below", original_);
  expectRefusedWithoutChange(original_, missing / "below");
  expectRefusedWithoutChange(original_, original_);
  expectRefusedWithoutChange(original_, original_ / "." / "Contents" / "..");
  EXPECT_EQ(treeOf(original_), tree);
}

TEST_P(ItemReplacementContract, FileOrSymbolicLinkIsRefused) {
  makeTree(original_, "old");
  makeTree(replacement_, "new");
  const fs::path file = folder_.file("file", "x");
  const fs::path linkToReplacement = folder_.path() / "link";
  const fs::path linkToOriginal = folder_.path() / "to the original";
  fs::create_symlink(replacement_, linkToReplacement);
  fs::create_symlink(original_, linkToOriginal);
  expectRefusedWithoutChange(original_, file);
  expectRefusedWithoutChange(original_, linkToReplacement);
  expectRefusedWithoutChange(file, replacement_);
  expectRefusedWithoutChange(linkToOriginal, replacement_);
  expectRefusedWithoutChange(linkToOriginal, linkToReplacement);
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
  // `makeTree` writes this text, and a large file of 20,000 times the first letter of the label.
  EXPECT_EQ(read(information), "information of old");
  EXPECT_EQ(read(large), std::string(20'000, 'o'));
  EXPECT_EQ(contentsOf(original_ / "Contents" / "Info.plist"), "information of new");
}

TEST_P(ItemReplacementContract, CanReplaceItemAcceptsOnlyFolderOrLinkToFolder) {
  // Unlike replaceItem(), canReplaceItem() follows symbolic links.
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
