// The file that a download is written to.

#include "platform/linux/files/download_file.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "base/file_move.h"
#include "tests/linux/files/forked_child.h"
#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;

class DownloadFiles : public testing::TestWithParam<DownloadFile::Kind> {
 protected:
  DownloadFile make() const { return DownloadFile({folder.path().string()}, GetParam()); }
  bool folderIsEmpty() const { return fs::is_empty(folder.path()); }
  std::string target() const { return (folder.path() / "naar").string(); }

  TemporaryFolder folder;
};

std::string textOf(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST_P(DownloadFiles, CanBeReadByItsPathAndMoved) {
  DownloadFile file = make();
  ASSERT_TRUE(file.isOpen());
  EXPECT_TRUE(file.write("een "));
  EXPECT_TRUE(file.write("twee"));
  EXPECT_EQ(textOf(file.path()), "een twee");
  EXPECT_EQ(moveFile(file.path(), target()), MoveResult::moved);
  EXPECT_EQ(textOf(target()), "een twee");
}

TEST_P(DownloadFiles, CanBeReadByAnotherProgram) {
  DownloadFile file = make();
  EXPECT_TRUE(file.write("inhoud"));
  PosixProcessLauncher launcher(processEnvironment());
  EXPECT_EQ(posix_test::runShell(launcher, "cat '" + file.path() + "'").output, "inhoud");
}

TEST_P(DownloadFiles, MovesOverNothing) {
  DownloadFile file = make();
  EXPECT_TRUE(file.write("nieuw"));
  const std::string taken = folder.file("bezet", "oud");
  EXPECT_EQ(moveFile(file.path(), taken), MoveResult::destinationExists);
  EXPECT_EQ(textOf(taken), "oud");
  EXPECT_EQ(moveFile(file.path(), target()), MoveResult::moved);
}

TEST_P(DownloadFiles, MovesOnFileSystemsThatKnowLess) {
  if (!posix_test::inChild(posix_test::loseLinks).value_or(false)) {
    GTEST_SKIP() << "system calls cannot be filtered";
  }
  for (const bool hasLinks : {true, false}) {
    const auto done = posix_test::inChild([&] {
      if (!posix_test::loseRenamingWithoutReplacing()) return false;
      DownloadFile file = make();
      const std::string taken = folder.file("bezet", "oud");
      // Without a name of its own it only ever gets one by a link.
      if (!hasLinks && GetParam() == DownloadFile::Kind::hidden && !posix_test::loseLinks()) {
        return false;
      }
      return file.write("nieuw") && moveFile(file.path(), taken) == MoveResult::destinationExists &&
             textOf(taken) == "oud" && moveFile(file.path(), target()) == MoveResult::moved &&
             textOf(target()) == "nieuw";
    });
    EXPECT_EQ(done, true) << (hasLinks ? "with links" : "without links");
    fs::remove(target());
  }
}

TEST_P(DownloadFiles, LeavesNothingBehind) {
  {
    DownloadFile file = make();
    EXPECT_TRUE(file.write("inhoud"));
  }
  EXPECT_TRUE(folderIsEmpty());
}

TEST_P(DownloadFiles, LeavesNothingBehindAtARegularExit) {
  const pid_t child = ::fork();
  if (child == 0) {
    auto *file = new DownloadFile({folder.path().string()}, GetParam());
    file->write("inhoud");
    std::exit(0);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(folderIsEmpty());
}

INSTANTIATE_TEST_SUITE_P(OfBothKinds, DownloadFiles,
                         testing::Values(DownloadFile::Kind::unnamed, DownloadFile::Kind::hidden),
                         [](const auto &kind) {
                           return kind.param == DownloadFile::Kind::unnamed ? "Unnamed" : "Hidden";
                         });

TEST(DownloadFile, WithoutANameLeavesNothingEvenWhenKilled) {
  const TemporaryFolder folder;
  const pid_t child = ::fork();
  if (child == 0) {
    DownloadFile file({folder.path().string()});
    file.write("inhoud");
    ::raise(SIGKILL);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_TRUE(fs::is_empty(folder.path()));
}

TEST(DownloadFile, IsNoneWhereNothingCanBeMade) {
  const TemporaryFolder folder;
  EXPECT_FALSE(DownloadFile({}).isOpen());
  EXPECT_FALSE(DownloadFile({(folder.path() / "weg").string()}).isOpen());
  EXPECT_FALSE(DownloadFile({folder.file("bestand", "x")}).isOpen());
}

}  // namespace
}  // namespace orvel
