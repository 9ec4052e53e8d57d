#include "platform/linux/files/temporary_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>

#include "base/file_move.h"
#include "tests/linux/files/forked_child.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using namespace posix_test;

/// Both kinds of files: without a name (O_TMPFILE), and with a hidden name.
class TemporaryFiles : public testing::TestWithParam<TemporaryFile::Kind> {
 protected:
  TemporaryFile makeFile() const { return TemporaryFile({folder_.path()}, GetParam()); }

  const TemporaryFolder folder_;
  const std::string target_ = folder_.path() / "target";
};

TEST_P(TemporaryFiles, FileIsReadableByPathAndMovable) {
  TemporaryFile file = makeFile();
  ASSERT_TRUE(file.isOpen());
  EXPECT_TRUE(file.write("one "));
  EXPECT_TRUE(file.write("two"));
  EXPECT_EQ(contentsOf(file.path()), "one two");
  PosixProcessLauncher launcher(processEnvironment());
  EXPECT_EQ(runShell(launcher, "cat '" + file.path() + "'").output, "one two")
      << "not readable by another program";
  const std::string taken = folder_.file("taken", "old");
  EXPECT_EQ(moveFile(file.path(), taken), MoveResult::destinationExists);
  EXPECT_EQ(contentsOf(taken), "old");
  EXPECT_EQ(moveFile(file.path(), target_), MoveResult::moved);
  EXPECT_EQ(contentsOf(target_), "one two");
}

TEST_P(TemporaryFiles, FileModeFollowsUmask) {
  const ScopedUmask umask(027);
  EXPECT_EQ(moveFile(makeFile().path(), target_), MoveResult::moved);
  EXPECT_EQ(fs::status(target_).permissions(), fs::perms(0640));
}

TEST_P(TemporaryFiles, MoveWorksWithoutRenameNoReplaceAndHardLinks) {
  if (!runInChild(disableHardLinks).value_or(false)) {
    GTEST_SKIP() << "seccomp filters are not permitted";
  }
  for (const bool hasHardLinks : {true, false}) {
    // A file without a name can only get one by a hard link.
    if (!hasHardLinks && GetParam() == TemporaryFile::Kind::unnamed) continue;
    const auto succeeded = runInChild([&] {
      if (!disableRenameNoReplace() || !(hasHardLinks || disableHardLinks())) return false;
      TemporaryFile file = makeFile();
      const std::string taken = folder_.file("taken", "old");
      return file.write("new") && moveFile(file.path(), taken) == MoveResult::destinationExists &&
             contentsOf(taken) == "old" && moveFile(file.path(), target_) == MoveResult::moved &&
             contentsOf(target_) == "new";
    });
    EXPECT_EQ(succeeded, true) << (hasHardLinks ? "with hard links" : "without hard links");
    fs::remove(target_);
  }
}

TEST_P(TemporaryFiles, FileIsRemovedOnDestruction) {
  EXPECT_TRUE(makeFile().write("contents"));
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

INSTANTIATE_TEST_SUITE_P(EveryKind, TemporaryFiles,
                         testing::Values(TemporaryFile::Kind::unnamed, TemporaryFile::Kind::hidden),
                         [](const auto &kind) {
                           return kind.param == TemporaryFile::Kind::unnamed ? "Unnamed" : "Hidden";
                         });

TEST(TemporaryFile, ExitingProcessLeavesNoHiddenFile) {
  const TemporaryFolder folder;
  const auto result = runInChild([&] {
    // Leaked, so that no destructor removes it.
    auto *file = new TemporaryFile({folder.path()}, TemporaryFile::Kind::hidden);
    if (!file->write("contents") || fs::is_empty(folder.path())) return false;
    std::exit(0);  // runInChild returns true for status 0.
  });
  EXPECT_EQ(result, true);
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(TemporaryFile, KilledProcessLeavesNoUnnamedFile) {
  const TemporaryFolder folder;
  const auto result = runInChild([&] {
    TemporaryFile file({folder.path()});
    file.write("contents");
    return ::raise(SIGKILL) == 0;
  });
  EXPECT_EQ(result, std::nullopt) << "the child was not killed";
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(TemporaryFile, FileIsCreatedInFirstUsableFolder) {
  const TemporaryFolder folder;
  const std::string missing = folder.path() / "missing";
  const std::string file = folder.file("file", "x");
  for (const std::vector<std::string> &unusable : {std::vector<std::string>{}, {missing}, {file}}) {
    EXPECT_FALSE(TemporaryFile(unusable).isOpen());
  }
  const TemporaryFolder later;
  const TemporaryFile created({missing, file, folder.path(), later.path()},
                              TemporaryFile::Kind::hidden);
  EXPECT_EQ(fs::path(created.path()).parent_path(), folder.path());
}

}  // namespace
}  // namespace orvel
