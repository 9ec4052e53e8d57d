#include "base/file_move.h"

#include <gtest/gtest.h>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

namespace fs = std::filesystem;
using posix_test::contentsOf;

class FileMove : public testing::Test {
 protected:
  const TemporaryFolder folder_;
  const std::string source_ = folder_.file("source", "contents");
};

TEST_F(FileMove, FileIsMovedToFreePath) {
  const std::string target = folder_.path() / "target";
  EXPECT_EQ(moveFile(source_, target), MoveResult::moved);
  EXPECT_EQ(contentsOf(target), "contents");
  EXPECT_FALSE(fs::exists(source_));
}

TEST_F(FileMove, ExistingDestinationIsNeverReplaced) {
  const std::string file = folder_.file("file", "old");
  const fs::path link = folder_.path() / "link";
  fs::create_symlink("missing target", link);
  const fs::path directory = folder_.path() / "folder";
  fs::create_directory(directory);
  for (const std::string target : {fs::path(file), link, directory, fs::path(source_)}) {
    EXPECT_EQ(moveFile(source_, target), MoveResult::destinationExists) << target;
  }
  EXPECT_EQ(contentsOf(source_), "contents");
  EXPECT_EQ(contentsOf(file), "old");
  EXPECT_TRUE(fs::is_symlink(link));
}

TEST_F(FileMove, FailedMoveKeepsSource) {
  const fs::path &folder = folder_.path();
  const std::string nameTooLong(256, 'x');  // NAME_MAX is 255.
  EXPECT_EQ(moveFile(source_, folder / "missing folder" / "target"), MoveResult::failed);
  EXPECT_EQ(moveFile(source_, folder / nameTooLong), MoveResult::failed);
  EXPECT_EQ(moveFile(folder / "missing", folder / "target"), MoveResult::failed);
  EXPECT_EQ(contentsOf(source_), "contents");
}

}  // namespace
}  // namespace orvel
