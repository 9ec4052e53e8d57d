#include "base/file_handle.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <future>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

TEST(FileHandle, ForWritingOpensOnlyExistingFileWithoutTruncation) {
  const TemporaryFolder folder;
  EXPECT_FALSE(FileHandle::forWriting(folder.path() / "missing"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "missing"));
  EXPECT_FALSE(FileHandle::forWriting(folder.path()));
  const std::string path = folder.file("file", "abcdef");
  ASSERT_TRUE(FileHandle::forWriting(path)->write("XY"));
  EXPECT_EQ(contentsOf(path), "XYcdef");
}

TEST(FileHandle, IsClosedOnExecAndOnDestruction) {
  const TemporaryFolder folder;
  const int descriptorsBefore = openDescriptorCount();
  {
    const auto file = FileHandle::forWriting(folder.file("file", ""));
    const auto pipe = Pipe::create();
    ASSERT_TRUE(file && pipe);
    for (const auto &handle : {file, pipe->reading, pipe->writing}) {
      EXPECT_EQ(::fcntl(handle->descriptor(), F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(openDescriptorCount(), descriptorsBefore + 3);
  }
  EXPECT_EQ(openDescriptorCount(), descriptorsBefore);
}

TEST(FileHandle, PipeTransfersMoreThanItsBuffer) {
  auto pipe = Pipe::create();
  ASSERT_TRUE(pipe);
  std::string bytes(1u << 20, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
  auto reader = std::async(std::launch::async, [&] { return pipe->reading->readToEnd(); });
  EXPECT_TRUE(pipe->writing->write(bytes));
  pipe->writing.reset();
  EXPECT_TRUE(reader.get() == bytes);
}

TEST(FileHandle, WriteToReadEndFailsAndReadFromWriteEndReturnsNothing) {
  auto pipe = Pipe::create();
  ASSERT_TRUE(pipe);
  EXPECT_FALSE(pipe->reading->write("the wrong end"));
  EXPECT_EQ(pipe->writing->readToEnd(), "");
}

}  // namespace
}  // namespace orvel
