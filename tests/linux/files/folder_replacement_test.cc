// How the Linux desktop replaces a folder where something is in the way.

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

/// Gives this process mounts that nobody else sees, if need be as the superuser
/// of a world of its own. For a child.
bool becomeOwnerOfMounts() {
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

  bool replace(const fs::path &replacement) const {
    return replaceFolder(original_.string(), replacement.string());
  }
  bool replace() const { return replace(replacement_); }
  std::ptrdiff_t entriesBesideOriginal() const {
    return std::distance(fs::directory_iterator(applications_), fs::directory_iterator()) - 1;
  }
  /// Of the given tree and nothing beside it.
  void expectAtPath(const Tree &tree) const {
    EXPECT_EQ(treeOf(original_), tree);
    EXPECT_EQ(entriesBesideOriginal(), 0);
  }

  const TemporaryFolder folder_;
  const std::unique_ptr<TemporaryFolder> elsewhere_ = folderOnAnotherFileSystem();
  const fs::path applications_ = folder_.path() / "Applications";
  const fs::path original_ = applications_ / "Orvel OS.app";
  const fs::path replacement_ = folder_.path() / "unpacked";
};

/// With the replacement on another file system.
class FolderCopy : public FolderReplacement {
 protected:
  void SetUp() override {
    if (!elsewhere_) GTEST_SKIP() << "there is no second file system to write to";
    distant_ = elsewhere_->path() / "unpacked";
  }

  fs::path distant_;
};

TEST_F(FolderReplacement, RemovesWhatAnEarlierOneLeft) {
  makeTree(original_, "old");
  makeTree(applications_ / ".Orvel OS.app.nieuw", "stale");
  makeTree(applications_ / ".Orvel OS.app.oud", "older");
  const Tree expected = makeTree(replacement_, "new");
  EXPECT_TRUE(replace());
  expectAtPath(expected);
}

TEST_F(FolderCopy, MixesNothingWithWhatAnEarlierOneLeft) {
  makeTree(original_, "old");
  makeTree(applications_ / ".Orvel OS.app.nieuw", "stale");
  const Tree first = makeTree(distant_, "new");
  EXPECT_TRUE(replace(distant_));
  expectAtPath(first);

  // A link in its place leads nowhere that we would touch.
  const Tree bystander = makeTree(folder_.path() / "bystander", "bystander");
  fs::create_symlink(folder_.path() / "bystander", applications_ / ".Orvel OS.app.nieuw");
  const Tree second = makeTree(distant_, "newer");
  EXPECT_TRUE(replace(distant_));
  expectAtPath(second);
  EXPECT_EQ(treeOf(folder_.path() / "bystander"), bystander);
}

TEST_F(FolderCopy, KeepsTheModesWhateverTheMask) {
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

TEST_F(FolderCopy, StopsAtWhatCannotBeCopied) {
  const Tree old = makeTree(original_, "old");
  makeTree(distant_, "new");
  ASSERT_EQ(::mkfifo((distant_ / "Contents" / "pipe").c_str(), 0600), 0);
  EXPECT_FALSE(replace(distant_));
  expectAtPath(old);
}

TEST_F(FolderCopy, LeavesTheOriginalWhenTheDiskIsFull) {
  const Tree old = makeTree(original_, "old");
  const Tree expected = makeTree(distant_, "new");
  EXPECT_EQ(inChild([this] {
              // As near to a full disk as one comes without a disk of one's own.
              ::signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{10'000, 10'000};
              return ::setrlimit(RLIMIT_FSIZE, &limit) == 0 && !replace(distant_);
            }),
            true);
  expectAtPath(old);
  EXPECT_TRUE(replace(distant_));
  expectAtPath(expected);
}

TEST_F(FolderReplacement, LeavesTheOriginalWhereNothingMayBeWritten) {
  const Tree old = makeTree(original_, "old");
  const Tree replacing = makeTree(replacement_, "new");
  if (elsewhere_) makeTree(elsewhere_->path() / "unpacked", "new");
  fs::permissions(applications_, fs::perms(0555));
  if (::geteuid() == 0) {
    // All but the parent folder is the other user's own.
    for (const auto &place : {folder_.path(), elsewhere_ ? elsewhere_->path() : folder_.path()}) {
      ::lchown(place.c_str(), 65534, 65534);
      for (const auto &entry : fs::recursive_directory_iterator(place)) {
        ::lchown(entry.path().c_str(), 65534, 65534);
      }
    }
  }
  const auto refused = [&](const Task &task) {
    return inChild([&] {
      if (!becomeOrdinaryUser()) ::_exit(2);
      return !task();
    });
  };
  const auto outcome = refused([this] { return replace(); });
  if (!outcome) GTEST_SKIP() << "this superuser cannot become an ordinary user";
  EXPECT_EQ(outcome, true);
  EXPECT_EQ(refused([this] { return loseExchange() && replace(); }), true);
  if (elsewhere_) {
    EXPECT_EQ(refused([this] { return replace(elsewhere_->path() / "unpacked"); }), true);
  }
  expectAtPath(old);
  EXPECT_EQ(treeOf(replacement_), replacing);
  fs::permissions(applications_, fs::perms(0755));
}

TEST_F(FolderReplacement, LeavesTheOriginalWhenTheNewOneDoesNotReachTheDisk) {
  if (!inChild(loseSync).value_or(false)) GTEST_SKIP() << "system calls cannot be filtered";
  const Tree old = makeTree(original_, "old");
  const Tree replacing = makeTree(replacement_, "new");
  EXPECT_EQ(inChild([this] { return loseSync() && !replace(); }), true);
  expectAtPath(old);
  EXPECT_EQ(treeOf(replacement_), replacing);
}

TEST_F(FolderReplacement, LeavesTheOriginalThatIsAMountPoint) {
  makeTree(original_, "below the mount");
  const Tree replacing = makeTree(replacement_, "new");
  const auto outcome = inChild([&] {
    if (!becomeOwnerOfMounts() || ::mount("none", original_.c_str(), "tmpfs", 0, nullptr) != 0) {
      ::_exit(2);
    }
    const Tree old = makeTree(original_, "mounted");
    return !replace() && treeOf(original_) == old && entriesBesideOriginal() == 0;
  });
  if (!outcome) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(outcome, true);
  EXPECT_EQ(treeOf(replacement_), replacing);
}

TEST_F(FolderReplacement, IsImpossibleWhereTheUserMayNotWrite) {
  makeTree(original_, "old");
  fs::permissions(folder_.path(), fs::perms(0755));
  // A symbolic link in a writable folder to a bundle that is not writable.
  const fs::path link = folder_.path() / "link";
  fs::create_symlink(original_, link);
  const auto canReplace = [&](const fs::path &path, fs::perms parent, fs::perms bundle) {
    fs::permissions(applications_, parent);
    fs::permissions(original_, bundle);
    return inChild([&] {
      if (!becomeOrdinaryUser()) ::_exit(2);
      return canReplaceFolder(path.string());
    });
  };
  if (::geteuid() == 0) {
    for (const fs::path &path : {applications_, original_}) ::lchown(path.c_str(), 65534, 65534);
  }
  const auto both = canReplace(original_, fs::perms(0755), fs::perms(0755));
  if (!both) GTEST_SKIP() << "this superuser cannot become an ordinary user";
  EXPECT_EQ(both, true);
  EXPECT_EQ(canReplace(link, fs::perms(0755), fs::perms(0755)), true);
  for (const fs::path &path : {original_, link}) {
    EXPECT_EQ(canReplace(path, fs::perms(0555), fs::perms(0755)), false);
    EXPECT_EQ(canReplace(path, fs::perms(0755), fs::perms(0555)), false);
  }
  fs::permissions(applications_, fs::perms(0755));
  fs::permissions(original_, fs::perms(0755));
}

TEST_F(FolderReplacement, IsImpossibleOnAReadOnlyFileSystemForTheSuperuserToo) {
  makeTree(original_, "old");
  const auto outcome = inChild([&] {
    if (!becomeOwnerOfMounts() ||
        ::mount(applications_.c_str(), applications_.c_str(), nullptr, MS_BIND, nullptr) != 0) {
      ::_exit(2);
    }
    const bool before = canReplaceFolder(original_.string());
    if (::mount(nullptr, applications_.c_str(), nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY,
                nullptr) != 0) {
      ::_exit(2);
    }
    return before && !canReplaceFolder(original_.string());
  });
  if (!outcome) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(outcome, true);
}

TEST_F(FolderReplacement, LetsARunningProgramOfTheOldFolderRun) {
  makeTree(original_, "old");
  const Tree expected = makeTree(replacement_, "new");
  const fs::path program = original_ / "Contents" / "Linux" / "running";
  fs::copy_file("/bin/sleep", program);
  PosixProcessLauncher launcher(processEnvironment());
  const LaunchResult child = launcher.launch(posix_test::program(program.string(), {"60"}));
  ASSERT_TRUE(child.process) << child.error;
  EXPECT_TRUE(replace());
  expectAtPath(expected);
  EXPECT_TRUE(child.process->isRunning());
  child.process->terminate();
  child.process->waitUntilExit();
  EXPECT_EQ(child.process->terminationStatus(), SIGTERM);
}

TEST_F(FolderReplacement, UndoesTheFirstRenameWhenTheSecondFails) {
  makeTree(original_, "old");
  makeTree(original_ / "inner", "new");
  const Tree old = treeOf(original_);
  // The first rename takes the inner folder away with the outer one.
  EXPECT_FALSE(replace(original_ / "inner"));
  expectAtPath(old);
}

TEST_F(FolderReplacement, WorksWithoutExchange) {
  if (!inChild(loseExchange).value_or(false)) GTEST_SKIP() << "system calls cannot be filtered";
  std::vector<fs::path> replacements{replacement_};
  if (elsewhere_) replacements.push_back(elsewhere_->path() / "unpacked");
  for (const fs::path &replacement : replacements) {
    fs::remove_all(original_);
    makeTree(original_, "old");
    makeTree(applications_ / ".Orvel OS.app.oud", "older");
    const Tree expected = makeTree(replacement, "new");
    EXPECT_EQ(inChild([&] { return loseExchange() && replace(replacement); }), true);
    expectAtPath(expected);
    EXPECT_FALSE(fs::exists(replacement));
  }
}

TEST_F(FolderReplacement, WaitsForAnotherThatIsUnderWay) {
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
    ASSERT_EQ(entriesBesideOriginal(), 0);
  }
}

}  // namespace
}  // namespace orvel
