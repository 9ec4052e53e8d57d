// Folder replacement under adverse conditions.

#include "platform/linux/files/folder_replacement.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <fstream>
#include <memory>
#include <thread>

#include "platform/posix/replaceable_folder.h"
#include "tests/linux/files/forked_child.h"
#include "tests/support/folder_tree.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

/// Enters a new mount namespace, and without privileges a new user namespace as well. For
/// a child.
bool enterMountNamespace() {
  const std::string user = std::to_string(::geteuid());
  const std::string group = std::to_string(::getegid());
  if (::unshare(CLONE_NEWNS) != 0) {
    if (::unshare(CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/uid_map") << "0 " + user + " 1";
    std::ofstream("/proc/self/gid_map") << "0 " + group + " 1";
  }
  return ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
}

class FolderReplacement : public testing::Test {
 protected:
  FolderReplacement() { fs::create_directories(applications_); }

  bool replace(const fs::path &replacement) const { return replaceFolder(original_, replacement); }
  bool replace() const { return replace(replacement_); }
  bool nothingIsLeftBeside() const { return entryCount(applications_) == 1; }
  /// Expects this tree at the original path and nothing beside it.
  void expectAtPath(const Tree &tree) const {
    EXPECT_EQ(treeOf(original_), tree);
    EXPECT_TRUE(nothingIsLeftBeside());
  }
  /// Lets a test that runs as root change the owner before `becomeOrdinaryUser`.
  void giveToOrdinaryUser(const fs::path &path) const {
    if (::geteuid() == 0) ::lchown(path.c_str(), 65534, 65534);
  }

  const TemporaryFolder folder_;
  const std::unique_ptr<TemporaryFolder> elsewhere_ = folderOnAnotherFileSystem();
  const fs::path applications_ = folder_.path() / "Applications";
  const fs::path original_ = applications_ / "Orvel OS.app";
  const fs::path replacement_ = folder_.path() / "unpacked";
};

/// The replacement is on another file system, so it is copied.
class FolderReplacementCopy : public FolderReplacement {
 protected:
  void SetUp() override {
    if (!elsewhere_) GTEST_SKIP() << "no second writable file system";
    distant_ = elsewhere_->path() / "unpacked";
  }

  fs::path distant_;
};

TEST_F(FolderReplacement, RemainsOfEarlierReplacementAreRemoved) {
  makeTree(original_, "old");
  makeTree(applications_ / ".Orvel OS.app.nieuw", "stale");
  makeTree(applications_ / ".Orvel OS.app.oud", "older");
  const Tree expected = makeTree(replacement_, "new");
  EXPECT_TRUE(replace());
  expectAtPath(expected);
}

TEST_F(FolderReplacementCopy, RemainsOfEarlierCopyAreNotMixedIn) {
  makeTree(original_, "old");
  makeTree(applications_ / ".Orvel OS.app.nieuw", "stale");
  const Tree first = makeTree(distant_, "new");
  EXPECT_TRUE(replace(distant_));
  expectAtPath(first);

  // A symbolic link at the path of the copy is not followed.
  const Tree bystander = makeTree(folder_.path() / "bystander", "bystander");
  fs::create_symlink(folder_.path() / "bystander", applications_ / ".Orvel OS.app.nieuw");
  const Tree second = makeTree(distant_, "newer");
  EXPECT_TRUE(replace(distant_));
  expectAtPath(second);
  EXPECT_EQ(treeOf(folder_.path() / "bystander"), bystander);
}

TEST_F(FolderReplacementCopy, ModesAreKeptDespiteUmask) {
  makeTree(original_, "old");
  makeTree(distant_, "new");
  fs::permissions(distant_ / "Contents", fs::perms(0775));
  fs::permissions(distant_ / "Contents" / "Linux", fs::perms(0555));
  fs::permissions(distant_ / "Contents" / "Resources", fs::perms(01777));
  fs::permissions(distant_ / "Contents" / "Linux" / "program", fs::perms(0777));
  const Tree expected = treeOf(distant_);
  const mode_t mask = ::umask(077);
  EXPECT_TRUE(replace(distant_));
  ::umask(mask);
  expectAtPath(expected);
}

TEST_F(FolderReplacementCopy, SpecialFileFailsCopy) {
  const Tree old = makeTree(original_, "old");
  makeTree(distant_, "new");
  ASSERT_EQ(::mkfifo((distant_ / "Contents" / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(replace(distant_));
  expectAtPath(old);
}

TEST_F(FolderReplacementCopy, FullDiskKeepsOriginal) {
  const Tree old = makeTree(original_, "old");
  const Tree expected = makeTree(distant_, "new");
  EXPECT_EQ(inChild([this] {
              // Simulates a full disk without mounting a file system.
              ::signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{10'000, 10'000};
              return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 && !replace(distant_);
            }),
            true);
  expectAtPath(old);
  EXPECT_TRUE(replace(distant_));
  expectAtPath(expected);
}

TEST_F(FolderReplacement, ReadOnlyParentKeepsOriginal) {
  const Tree old = makeTree(original_, "old");
  const Tree replacing = makeTree(replacement_, "new");
  if (elsewhere_) makeTree(elsewhere_->path() / "unpacked", "new");
  fs::permissions(applications_, fs::perms(0555));
  for (const auto &place : {folder_.path(), elsewhere_ ? elsewhere_->path() : folder_.path()}) {
    giveToOrdinaryUser(place);
    for (const auto &entry : fs::recursive_directory_iterator(place)) giveToOrdinaryUser(entry);
  }
  const auto refused = [&](const Task &task) {
    return inChild([&] {
      if (!becomeOrdinaryUser()) giveUp();
      return !task();
    });
  };
  const auto outcome = refused([this] { return replace(); });
  if (!outcome) GTEST_SKIP() << "root cannot become an ordinary user";
  EXPECT_EQ(outcome, true);
  EXPECT_EQ(refused([this] { return disableRenameExchange() && replace(); }), true);
  if (elsewhere_) {
    EXPECT_EQ(refused([this] { return replace(elsewhere_->path() / "unpacked"); }), true);
  }
  expectAtPath(old);
  EXPECT_EQ(treeOf(replacement_), replacing);
  fs::permissions(applications_, fs::perms(0755));
}

TEST_F(FolderReplacement, FailedSyncKeepsOriginal) {
  if (!inChild(disableSync).value_or(false)) GTEST_SKIP() << "seccomp filters are not allowed";
  const Tree old = makeTree(original_, "old");
  const Tree replacing = makeTree(replacement_, "new");
  EXPECT_EQ(inChild([this] { return disableSync() && !replace(); }), true);
  expectAtPath(old);
  EXPECT_EQ(treeOf(replacement_), replacing);
}

TEST_F(FolderReplacement, MountPointIsNotReplaced) {
  makeTree(original_, "below the mount");
  const Tree replacing = makeTree(replacement_, "new");
  const auto outcome = inChild([&] {
    if (!enterMountNamespace() || ::mount("none", original_.c_str(), "tmpfs", 0, nullptr) != 0) {
      giveUp();
    }
    const Tree old = makeTree(original_, "mounted");
    return !replace() && treeOf(original_) == old && nothingIsLeftBeside();
  });
  if (!outcome) GTEST_SKIP() << "mounting is not allowed";
  EXPECT_EQ(outcome, true);
  EXPECT_EQ(treeOf(replacement_), replacing);
}

TEST_F(FolderReplacement, ReadOnlyParentOrBundleCannotBeReplaced) {
  makeTree(original_, "old");
  fs::permissions(folder_.path(), fs::perms(0755));
  // A symbolic link in a writable folder to a bundle that is not writable.
  const fs::path link = folder_.path() / "link";
  fs::create_symlink(original_, link);
  const auto canReplace = [&](const fs::path &path, fs::perms parent, fs::perms bundle) {
    fs::permissions(applications_, parent);
    fs::permissions(original_, bundle);
    return inChild([&] {
      if (!becomeOrdinaryUser()) giveUp();
      return canReplaceFolder(path);
    });
  };
  for (const fs::path &path : {applications_, original_}) giveToOrdinaryUser(path);
  const auto both = canReplace(original_, fs::perms(0755), fs::perms(0755));
  if (!both) GTEST_SKIP() << "root cannot become an ordinary user";
  EXPECT_EQ(both, true);
  EXPECT_EQ(canReplace(link, fs::perms(0755), fs::perms(0755)), true);
  for (const fs::path &path : {original_, link}) {
    EXPECT_EQ(canReplace(path, fs::perms(0555), fs::perms(0755)), false);
    EXPECT_EQ(canReplace(path, fs::perms(0755), fs::perms(0555)), false);
  }
  fs::permissions(applications_, fs::perms(0755));
  fs::permissions(original_, fs::perms(0755));
}

TEST_F(FolderReplacement, ReadOnlyFileSystemCannotBeReplacedByRoot) {
  makeTree(original_, "old");
  const auto outcome = inChild([&] {
    if (!enterMountNamespace() ||
        ::mount(applications_.c_str(), applications_.c_str(), nullptr, MS_BIND, nullptr) != 0) {
      giveUp();
    }
    const bool before = canReplaceFolder(original_);
    if (::mount(nullptr, applications_.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY,
                nullptr) != 0) {
      giveUp();
    }
    return before && !canReplaceFolder(original_);
  });
  if (!outcome) GTEST_SKIP() << "mounting is not allowed";
  EXPECT_EQ(outcome, true);
}

TEST_F(FolderReplacement, RunningProgramOfReplacedFolderContinues) {
  makeTree(original_, "old");
  const Tree expected = makeTree(replacement_, "new");
  const fs::path program = original_ / "Contents" / "Linux" / "running";
  fs::copy_file("/bin/sleep", program);
  PosixProcessLauncher launcher(processEnvironment());
  const LaunchResult child = launcher.launch(posix_test::program(program, {"60"}));
  ASSERT_TRUE(child.process) << child.error;
  EXPECT_TRUE(replace());
  expectAtPath(expected);
  EXPECT_TRUE(child.process->isRunning());
  child.process->terminate();
  child.process->waitUntilExit();
  EXPECT_EQ(child.process->terminationStatus(), SIGTERM);
}

TEST_F(FolderReplacement, FailedSecondRenameUndoesFirst) {
  makeTree(original_, "old");
  makeTree(original_ / "inner", "new");
  const Tree old = treeOf(original_);
  // The first rename moves the inner folder along with the outer one.
  EXPECT_FALSE(replace(original_ / "inner"));
  expectAtPath(old);
}

TEST_F(FolderReplacement, FolderIsReplacedWithoutRenameExchange) {
  if (!inChild(disableRenameExchange).value_or(false)) {
    GTEST_SKIP() << "seccomp filters are not allowed";
  }
  std::vector<fs::path> replacements{replacement_};
  if (elsewhere_) replacements.push_back(elsewhere_->path() / "unpacked");
  for (const fs::path &replacement : replacements) {
    fs::remove_all(original_);
    makeTree(original_, "old");
    makeTree(applications_ / ".Orvel OS.app.oud", "older");
    const Tree expected = makeTree(replacement, "new");
    EXPECT_EQ(inChild([&] { return disableRenameExchange() && replace(replacement); }), true);
    expectAtPath(expected);
    EXPECT_FALSE(fs::exists(replacement));
  }
}

TEST_F(FolderReplacement, ConcurrentReplacementsAreSerialized) {
  std::vector<fs::path> places{folder_.path(), elsewhere_ ? elsewhere_->path() : folder_.path()};
  for (int round = 0; round < 10; ++round) {
    fs::remove_all(original_);
    makeTree(original_, "old");
    std::vector<Tree> trees(4);
    std::vector<char> replaced(trees.size());
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < trees.size(); ++number) {
      const std::string name = "release " + std::to_string(number);
      const fs::path replacement = places[number % 2] / name;
      trees[number] = makeTree(replacement, name);
      threads.emplace_back(
          [&, number, replacement] { replaced[number] = replace(replacement) ? 1 : 0; });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_EQ(replaced, std::vector<char>(trees.size(), 1));
    const Tree left = treeOf(original_);
    ASSERT_NE(std::find(trees.begin(), trees.end(), left), trees.end());
    ASSERT_TRUE(nothingIsLeftBeside());
  }
}

}  // namespace
}  // namespace orvel
