#include "platform/linux/files/folder_replacement.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <future>
#include <memory>

#include "platform/posix/replaceable_folder.h"
#include "tests/linux/files/forked_child.h"
#include "tests/support/folder_tree.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

/// Enters a new mount namespace, and without privileges a new user namespace as well. Only for a
/// child of `runInChild`. Returns false when the system does not permit it.
bool enterMountNamespace() {
  const std::string user = std::to_string(::geteuid());
  const std::string group = std::to_string(::getegid());
  if (::unshare(CLONE_NEWNS) != 0) {
    if (::unshare(CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    // Makes the user root in the namespace. gid_map requires "deny" (user_namespaces(7)).
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
    std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
  }
  // Keeps later mounts of the child from propagating to the rest of the system.
  return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

class FolderReplacement : public testing::Test {
 public:
  ~FolderReplacement() override {
    // A test may have removed permissions that the removal of the temporary folder needs.
    std::error_code ignored;
    for (const fs::path &path : {applications_, original_}) {
      fs::permissions(path, fs::perms::owner_all, ignored);
    }
  }

 protected:
  bool replace(const fs::path &replacement) const { return replaceFolder(original_, replacement); }
  bool replace() const { return replace(replacement_); }
  /// Returns whether the original has no sibling, such as a copy.
  bool onlyOriginalIsLeft() const { return entryCount(applications_) == 1; }
  /// Expects this tree at the path of the original, and no sibling.
  void expectAtOriginalPath(const Tree &tree) const {
    EXPECT_EQ(treeOf(original_), tree);
    EXPECT_TRUE(onlyOriginalIsLeft());
  }
  /// As root, gives a folder and its contents to `ordinaryUser`.
  void giveToOrdinaryUser(const fs::path &folder) const {
    if (::geteuid() != 0) return;
    ASSERT_EQ(::chown(folder.c_str(), ordinaryUser, ordinaryUser), 0);
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
      ASSERT_EQ(::lchown(entry.path().c_str(), ordinaryUser, ordinaryUser), 0);
    }
  }

  const TemporaryFolder folder_;
  const std::unique_ptr<TemporaryFolder> otherFileSystem_ = folderOnAnotherFileSystem();
  const fs::path applications_ = folder_.path() / "Applications";
  const fs::path original_ = applications_ / "Orvel OS.app";
  const Tree old_ = makeTree(original_, "old");
  /// Where a replacement from another file system is copied first.
  const fs::path copy_ = applications_ / ".Orvel OS.app.nieuw";
  /// Where the original is between the two renames that are used without RENAME_EXCHANGE.
  const fs::path movedOriginal_ = applications_ / ".Orvel OS.app.oud";
  const fs::path replacement_ = folder_.path() / "unpacked";
  /// A replacement on another file system, which is copied. Empty without another
  /// writable file system.
  const fs::path copiedReplacement_ =
      otherFileSystem_ ? otherFileSystem_->path() / "unpacked" : fs::path();
  const std::vector<fs::path> replacements_ =
      otherFileSystem_ ? std::vector{replacement_, copiedReplacement_} : std::vector{replacement_};
};

/// Replacement by a folder on another file system.
class FolderReplacementCopy : public FolderReplacement {
 protected:
  void SetUp() override {
    if (!otherFileSystem_) GTEST_SKIP() << "no second writable file system";
  }
};

TEST_F(FolderReplacementCopy, SymbolicLinkAtPathOfCopyIsNotFollowed) {
  const Tree bystander = makeTree(folder_.path() / "bystander", "bystander");
  fs::create_symlink(folder_.path() / "bystander", copy_);
  const Tree expected = makeTree(copiedReplacement_, "new");
  EXPECT_TRUE(replace(copiedReplacement_));
  expectAtOriginalPath(expected);
  EXPECT_EQ(treeOf(folder_.path() / "bystander"), bystander);
}

TEST_F(FolderReplacementCopy, ModesAreKeptDespiteUmask) {
  makeTree(copiedReplacement_, "new");
  fs::permissions(copiedReplacement_ / "Contents", fs::perms(0775));
  fs::permissions(copiedReplacement_ / "Contents" / "Linux", fs::perms(0555));
  fs::permissions(copiedReplacement_ / "Contents" / "Resources", fs::perms(01777));
  fs::permissions(copiedReplacement_ / "Contents" / "Linux" / "program", fs::perms(0777));
  const Tree expected = treeOf(copiedReplacement_);
  const ScopedUmask umask(077);
  EXPECT_TRUE(replace(copiedReplacement_));
  expectAtOriginalPath(expected);
}

TEST_F(FolderReplacementCopy, SpecialFileFailsCopy) {
  makeTree(copiedReplacement_, "new");
  ASSERT_EQ(::mkfifo((copiedReplacement_ / "Contents" / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(replace(copiedReplacement_));
  expectAtOriginalPath(old_);
}

TEST_F(FolderReplacementCopy, FullDiskKeepsOriginal) {
  const Tree expected = makeTree(copiedReplacement_, "new");
  {
    // Writes to a file fail beyond 10,000 bytes. The tree has a larger file.
    const FullDisk fullDisk(10'000);
    EXPECT_FALSE(replace(copiedReplacement_));
  }
  expectAtOriginalPath(old_);
  EXPECT_TRUE(replace(copiedReplacement_));
  expectAtOriginalPath(expected);
}

TEST_F(FolderReplacement, ReadOnlyParentKeepsOriginal) {
  for (const fs::path &replacement : replacements_) {
    const Tree unpacked = makeTree(replacement, "new");
    // Then only the mode of the original's parent prevents the replacement.
    giveToOrdinaryUser(replacement.parent_path());
    fs::permissions(applications_, fs::perms(0555));
    for (const bool canExchange : {true, false}) {
      const auto isRefused = runInChild([&] {
        if (!canExchange && !disableRenameExchange()) exitWithoutResult();
        if (!becomeOrdinaryUser()) exitWithoutResult();
        return !replace(replacement);
      });
      if (canExchange && !isRefused.has_value()) {
        GTEST_SKIP() << "root cannot become an ordinary user";
      }
      // The child has no result when it cannot disable RENAME_EXCHANGE, because seccomp filters are
      // not permitted. That is no failure.
      EXPECT_NE(isRefused, false) << replacement << ", exchange supported: " << canExchange;
    }
    expectAtOriginalPath(old_);
    EXPECT_EQ(treeOf(replacement), unpacked);
  }
}

TEST_F(FolderReplacement, FailedSyncKeepsOriginal) {
  if (!runInChild(disableSync).value_or(false)) GTEST_SKIP() << "seccomp filters are not permitted";
  const Tree unpacked = makeTree(replacement_, "new");
  EXPECT_EQ(runInChild([this] { return disableSync() && !replace(); }), true);
  expectAtOriginalPath(old_);
  EXPECT_EQ(treeOf(replacement_), unpacked);
}

TEST_F(FolderReplacement, MountPointIsRefusedWithoutChange) {
  const Tree unpacked = makeTree(replacement_, "new");
  const auto outcome = runInChild([&] {
    if (!enterMountNamespace() || ::mount("none", original_.c_str(), "tmpfs", 0, nullptr) != 0) {
      exitWithoutResult();
    }
    const Tree old = makeTree(original_, "mounted");
    return !replace() && treeOf(original_) == old && onlyOriginalIsLeft();
  });
  if (!outcome) GTEST_SKIP() << "mounting is not permitted";
  EXPECT_EQ(outcome, true);
  EXPECT_EQ(treeOf(replacement_), unpacked);
}

TEST_F(FolderReplacement, FolderWithoutWritePermissionCannotBeReplaced) {
  const fs::path link = folder_.path() / "link in a writable folder";
  fs::create_symlink(original_, link);
  giveToOrdinaryUser(folder_.path());
  struct Row {
    unsigned modeOfParent;
    unsigned mode;
    bool canBeReplaced;
  };
  // The folder must be writable too, because a move into another folder changes its entry "..".
  for (const Row &row : {Row{0755, 0755, true}, Row{0555, 0755, false}, Row{0755, 0555, false}}) {
    fs::permissions(applications_, fs::perms(row.modeOfParent));
    fs::permissions(original_, fs::perms(row.mode));
    for (const fs::path &path : {original_, link}) {
      const auto outcome = runInChild([&] {
        if (!becomeOrdinaryUser()) exitWithoutResult();
        return canReplaceFolder(path);
      });
      if (!outcome) GTEST_SKIP() << "root cannot become an ordinary user";
      EXPECT_EQ(outcome, row.canBeReplaced)
          << path << std::oct << " " << row.mode << " in " << row.modeOfParent;
    }
  }
}

TEST_F(FolderReplacement, FolderOnReadOnlyFileSystemCannotBeReplacedByRoot) {
  // Mounts the folder on itself, or changes that mount: only a mount can become read-only.
  const auto mountOnItself = [this](unsigned long flags) {
    const char *path = applications_.c_str();
    return ::mount(path, path, nullptr, flags, nullptr) == 0;
  };
  const auto outcome = runInChild([&] {
    if (!enterMountNamespace() || !mountOnItself(MS_BIND)) exitWithoutResult();
    const bool whenWritable = canReplaceFolder(original_);
    if (!mountOnItself(MS_BIND | MS_REMOUNT | MS_RDONLY)) exitWithoutResult();
    return whenWritable && !canReplaceFolder(original_);
  });
  if (!outcome) GTEST_SKIP() << "mounting is not permitted";
  EXPECT_EQ(outcome, true);
}

TEST_F(FolderReplacement, FailedSecondRenameUndoesFirst) {
  makeTree(original_ / "inner", "new");
  const Tree old = treeOf(original_);
  // The exchange of a folder with a folder inside it fails with EINVAL, like an unsupported one, so
  // two renames follow. The first one also moves the inner folder, which the second does not find.
  EXPECT_FALSE(replace(original_ / "inner"));
  expectAtOriginalPath(old);
}

// Needs a second file system: replacements on a single one that supports RENAME_EXCHANGE would
// succeed even without a lock.
TEST_F(FolderReplacementCopy, ConcurrentReplacementsAreSerialized) {
  for (int round = 0; round < 10; ++round) {
    fs::remove_all(original_);
    makeTree(original_, "old");
    std::vector<Tree> trees;
    std::vector<std::future<bool>> results;
    for (std::size_t number = 0; number < 4; ++number) {
      // The replacements are on each of the file systems in turn.
      const fs::path folder = replacements_[number % replacements_.size()].parent_path();
      const std::string label = "release " + std::to_string(number);
      const fs::path replacement = folder / label;
      trees.push_back(makeTree(replacement, label));
      results.push_back(
          std::async(std::launch::async, [this, replacement] { return replace(replacement); }));
    }
    for (auto &result : results) EXPECT_TRUE(result.get());
    EXPECT_THAT(trees, testing::Contains(treeOf(original_)));
    ASSERT_TRUE(onlyOriginalIsLeft());
  }
}

/// Where the replacement is, and whether the kernel can exchange it with the original
/// (RENAME_EXCHANGE).
struct Scenario {
  std::string name;
  bool crossesFileSystems;
  bool canExchange;
};

/// Replacement by a process that is killed at each of its system calls in turn.
class FolderReplacementKill : public FolderReplacement,
                              public testing::WithParamInterface<Scenario> {
 protected:
  void SetUp() override {
    if (GetParam().crossesFileSystems && !otherFileSystem_) {
      GTEST_SKIP() << "no second writable file system";
    }
    if (!GetParam().canExchange && !runInChild(disableRenameExchange).value_or(false)) {
      GTEST_SKIP() << "seccomp filters are not permitted";
    }
  }

  bool replaceInScenario() const {
    return (GetParam().canExchange || disableRenameExchange()) && replace(scenarioReplacement_);
  }

  /// The replacement of the scenario.
  const fs::path &scenarioReplacement_ =
      GetParam().crossesFileSystems ? copiedReplacement_ : replacement_;
};

TEST_P(FolderReplacementKill, LeavesCompleteOldOrNewFolder) {
  // The number of kills that left each of these.
  int oldFolders = 0;
  int newFolders = 0;
  int missingFolders = 0;
  int incompleteCopies = 0;
  // The mode of a copy, which is checked below, must not depend on the umask.
  const ScopedUmask umask(0);
  Tree old;
  Tree replacing;
  const bool isTraceable = killAtEverySystemCall(
      [&] {
        fs::remove_all(original_);
        fs::remove_all(scenarioReplacement_);
        old = makeSmallTree(original_, "old");
        replacing = makeSmallTree(scenarioReplacement_, "new");
      },
      [this] { return replaceInScenario(); },
      [&] {
        const Tree left = treeOf(original_);
        if (left.empty()) {
          // The kill was between the two renames. The old folder is complete at its other path.
          ++missingFolders;
          ASSERT_EQ(treeOf(movedOriginal_), old);
          fs::rename(movedOriginal_, original_);
        } else {
          ++(left == old ? oldFolders : newFolders);
          EXPECT_TRUE(left == old || left == replacing);
        }
        if (left == old && fs::exists(copy_) && treeOf(copy_) != replacing) {
          ++incompleteCopies;
          EXPECT_EQ(modeOf(copy_), 0700U) << "other users can read or change the copy";
        }
        // The next replacement removes the leftovers of the killed one.
        fs::remove_all(scenarioReplacement_);
        const Tree next = makeSmallTree(scenarioReplacement_, "next");
        EXPECT_EQ(runInChild([this] { return replaceInScenario(); }), true);
        expectAtOriginalPath(next);
        EXPECT_FALSE(fs::exists(scenarioReplacement_));
      });
  if (!isTraceable) GTEST_SKIP() << "ptrace is not permitted";
  // More than five system calls precede the replacement, more than five follow it, and a copy needs
  // more than five.
  EXPECT_GT(oldFolders, 5);
  EXPECT_GT(newFolders, 5);
  if (GetParam().canExchange) {
    EXPECT_EQ(missingFolders, 0);
  } else if (!hasSanitizer) {
    // Not with a sanitizer, whose additional system calls can differ between the children, so that
    // all kills may miss the second rename.
    EXPECT_GT(missingFolders, 0) << "no kill between the two renames";
  }
  EXPECT_EQ(incompleteCopies > 5, GetParam().crossesFileSystems);
}

INSTANTIATE_TEST_SUITE_P(
    EverySystemCall, FolderReplacementKill,
    testing::Values(
        Scenario{.name = "OnOneFileSystem", .crossesFileSystems = false, .canExchange = true},
        Scenario{.name = "AcrossFileSystems", .crossesFileSystems = true, .canExchange = true},
        Scenario{.name = "OnOneFileSystemWithoutExchange",
                 .crossesFileSystems = false,
                 .canExchange = false},
        Scenario{.name = "AcrossFileSystemsWithoutExchange",
                 .crossesFileSystems = true,
                 .canExchange = false}),
    [](const auto &scenario) { return scenario.param.name; });

}  // namespace
}  // namespace orvel
