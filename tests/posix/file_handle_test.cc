#include "base/file_handle.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <future>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

TEST(FileHandle, PrivateFileIsEmptyAndOnlyForOwner) {
  for (const mode_t mask : std::initializer_list<mode_t>{0, 022, 0777}) {
    const TemporaryFolder folder;
    const std::string existing = folder.file("existing", "abcdef");
    std::filesystem::permissions(existing, std::filesystem::perms(0666));
    const ScopedUmask umask(mask);
    for (const std::string &path : {existing, (folder.path() / "new").string()}) {
      const auto file = FileHandle::createPrivate(path);
      ASSERT_TRUE(file) << path;
      EXPECT_EQ(modeOf(path), 0600U) << path << " with umask " << std::oct << mask;
      ASSERT_TRUE(file->write("XY"));
      EXPECT_EQ(contentsOf(path), "XY") << path;
    }
  }
}

TEST(FileHandle, FileThatIsNotRegularKeepsItsMode) {
  const TemporaryFolder folder;
  const std::string fifo = folder.path() / "fifo";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0644), 0);
  ASSERT_EQ(::chmod(fifo.c_str(), 0644), 0);
  // Opening a FIFO for writing blocks until it has a reader.
  const FileHandle reader(::open(fifo.c_str(), O_RDONLY | O_NONBLOCK));
  EXPECT_TRUE(FileHandle::createPrivate(fifo));
  EXPECT_EQ(modeOf(fifo), 0644U);
}

TEST(FileHandle, FileThatCannotBeCreatedHasNoHandle) {
  const TemporaryFolder folder;
  EXPECT_FALSE(FileHandle::createPrivate(folder.path()));
  EXPECT_FALSE(FileHandle::createPrivate(folder.path() / "missing" / "file"));
}

TEST(FileHandle, IsClosedOnExecAndOnDestruction) {
  const TemporaryFolder folder;
  const int descriptorsBefore = openDescriptorCount();
  {
    const auto file = FileHandle::createPrivate(folder.file("file", ""));
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
