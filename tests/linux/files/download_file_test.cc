#include "platform/linux/files/download_file.h"

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

/// Tests of both kinds of files: without a name (O_TMPFILE) and hidden.
class DownloadFiles : public testing::TestWithParam<DownloadFile::Kind> {
 protected:
  DownloadFile makeFile() const { return DownloadFile({folder_.path()}, GetParam()); }

  const TemporaryFolder folder_;
  const std::string target_ = folder_.path() / "target";
};

TEST_P(DownloadFiles, FileIsReadableByPathAndMovable) {
  DownloadFile file = makeFile();
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

TEST_P(DownloadFiles, FileModeFollowsUmask) {
  const mode_t mask = ::umask(027);
  EXPECT_EQ(moveFile(makeFile().path(), target_), MoveResult::moved);
  ::umask(mask);
  EXPECT_EQ(fs::status(target_).permissions(), fs::perms(0640));
}

TEST_P(DownloadFiles, MoveWorksWithoutRenameNoReplaceAndHardLinks) {
  if (!inChild(disableHardLinks).value_or(false)) {
    GTEST_SKIP() << "seccomp filters are not permitted";
  }
  for (const bool hasLinks : {true, false}) {
    const auto done = inChild([&] {
      if (!disableRenameNoReplace()) return false;
      DownloadFile file = makeFile();
      const std::string taken = folder_.file("taken", "old");
      // A file without a name can only get one by a hard link.
      if (!hasLinks && GetParam() == DownloadFile::Kind::hidden && !disableHardLinks()) {
        return false;
      }
      return file.write("new") && moveFile(file.path(), taken) == MoveResult::destinationExists &&
             contentsOf(taken) == "old" && moveFile(file.path(), target_) == MoveResult::moved &&
             contentsOf(target_) == "new";
    });
    EXPECT_EQ(done, true) << (hasLinks ? "with hard links" : "without hard links");
    fs::remove(target_);
  }
}

TEST_P(DownloadFiles, FileIsRemovedOnDestructionAndOnExit) {
  EXPECT_TRUE(makeFile().write("contents"));
  EXPECT_TRUE(fs::is_empty(folder_.path()));
  inChild([this] {
    auto *file = new DownloadFile(makeFile());
    file->write("contents");
    std::exit(0);
    return true;
  });
  EXPECT_TRUE(fs::is_empty(folder_.path()));
}

INSTANTIATE_TEST_SUITE_P(EveryKind, DownloadFiles,
                         testing::Values(DownloadFile::Kind::unnamed, DownloadFile::Kind::hidden),
                         [](const auto &kind) {
                           return kind.param == DownloadFile::Kind::unnamed ? "Unnamed" : "Hidden";
                         });

TEST(DownloadFile, KilledProcessLeavesNoUnnamedFile) {
  const TemporaryFolder folder;
  const auto result = inChild([&] {
    DownloadFile file({folder.path()});
    file.write("contents");
    return ::raise(SIGKILL) == 0;
  });
  EXPECT_EQ(result, std::nullopt) << "the child was not killed";
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(DownloadFile, FileIsCreatedInFirstUsableFolder) {
  const TemporaryFolder folder;
  const std::string missing = folder.path() / "missing";
  const std::string file = folder.file("file", "x");
  for (const std::vector<std::string> &unusable : {std::vector<std::string>{}, {missing}, {file}}) {
    EXPECT_FALSE(DownloadFile(unusable).isOpen());
  }
  EXPECT_TRUE(DownloadFile({missing, file, folder.path()}).isOpen());
}

}  // namespace
}  // namespace orvel
