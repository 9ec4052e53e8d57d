// The descriptors that a child process of a real system has, and has not.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <future>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

/// Puts a standard descriptor of this process aside, and back in the end.
class SetAside {
 public:
  explicit SetAside(int number)
      : number_(number), copy_(::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    ::close(number_);
  }
  ~SetAside() {
    ::dup2(copy_, number_);
    ::close(copy_);
  }
  SetAside(const SetAside &) = delete;
  SetAside &operator=(const SetAside &) = delete;

 private:
  int number_;
  int copy_;
};

class PosixChildStreams : public testing::TestWithParam<bool> {
 protected:
  StandardStream to(std::shared_ptr<FileHandle> handle) {
    return {StandardStream::Kind::handle, std::move(handle)};
  }
  /// Runs the request to its end and gives the status.
  int finish(const LaunchRequest &request) {
    const auto child = launcher_.launch(request);
    EXPECT_EQ(child.error, "");
    if (!child.process) return -1;
    child.process->waitUntilExit();
    return child.process->terminationStatus();
  }

  LauncherUnderTest launcher_{GetParam()};
  const TemporaryFolder folder_;
};

TEST_P(PosixChildStreams, BothOutputsShareOneHandleAndItsPosition) {
  const std::string log = folder_.file("server.log", "");
  auto request = program("/bin/sh", {"-c", "echo one; echo two >&2; echo three"});
  const auto handle = FileHandle::forWriting(log);
  ASSERT_TRUE(handle);
  request.standardOutput = to(handle);
  request.standardError = to(handle);
  EXPECT_EQ(finish(request), 0);
  EXPECT_TRUE(handle->write("four\n"));
  EXPECT_EQ(contentsOf(log), "one\ntwo\nthree\nfour\n");
}

TEST_P(PosixChildStreams, OutputThrownAwayLeavesTheOtherAlone) {
  auto request = program("/bin/sh", {"-c", "echo gone >&2; echo kept"});
  request.standardError.kind = StandardStream::Kind::null;
  EXPECT_EQ(run(launcher_, request).output, "kept\n");
}

TEST_P(PosixChildStreams, InheritsTheApplicationsOwnOutput) {
  auto pipe = Pipe::create();
  ASSERT_TRUE(pipe);
  std::fflush(stdout);
  {
    const SetAside output(STDOUT_FILENO);
    ::dup2(pipe->writing->descriptor(), STDOUT_FILENO);
    finish(program("/bin/sh", {"-c", "echo inherited"}));
  }
  pipe->writing.reset();
  EXPECT_EQ(pipe->reading->readToEnd(), "inherited\n");
}

TEST_P(PosixChildStreams, HasNoDescriptorButTheStandardThree) {
  std::vector<int> open;
  for (int i = 0; i < 10; ++i) open.push_back(::dup(STDERR_FILENO));
  open.push_back(::fcntl(STDERR_FILENO, F_DUPFD, 200));
  ASSERT_GE(open.back(), 200);
  // The fourth is the folder that is being listed.
  EXPECT_EQ(run(launcher_, program("/bin/ls", {"/dev/fd"})).output, "0\n1\n2\n3\n");
  for (const int descriptor : open) ::close(descriptor);
}

TEST_P(PosixChildStreams, ALongLivedSiblingDoesNotHoldAPipeOpen) {
  auto pipe = Pipe::create();
  ASSERT_TRUE(pipe);
  const auto sibling = launcher_.launch(program("/bin/sleep", {"600"}));
  ASSERT_TRUE(sibling.process);
  pipe->writing.reset();
  EXPECT_EQ(pipe->reading->readToEnd(), "");
  EXPECT_TRUE(sibling.process->isRunning());
  sibling.process->kill();
  sibling.process->waitUntilExit();
}

TEST_P(PosixChildStreams, AClosedStandardInputIsTheNullDevice) {
  const SetAside input(STDIN_FILENO);
  const auto outcome = run(launcher_, program("/bin/cat"));
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.status, 0);
}

TEST_P(PosixChildStreams, APrivateFileUnderAStandardNumberIsNotInherited) {
  const SetAside input(STDIN_FILENO);
  auto secret = Pipe::create();
  ASSERT_TRUE(secret);
  ASSERT_EQ(secret->reading->descriptor(), STDIN_FILENO);
  secret->writing->write("secret");
  secret->writing.reset();
  const auto outcome = run(launcher_, program("/bin/cat"));
  EXPECT_EQ(outcome.output, "");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(secret->reading->readToEnd(), "secret");
}

TEST_P(PosixChildStreams, HandlesMayThemselvesHaveTheNumbersOfStandardStreams) {
  auto first = Pipe::create();
  auto second = Pipe::create();
  ASSERT_TRUE(first && second);
  std::fflush(stdout);
  {
    const SetAside output(STDOUT_FILENO);
    const SetAside errors(STDERR_FILENO);
    // Each stands where the other is to go.
    auto request = program("/bin/sh", {"-c", "echo out; echo err >&2"});
    ::dup2(first->writing->descriptor(), STDERR_FILENO);
    ::dup2(second->writing->descriptor(), STDOUT_FILENO);
    request.standardOutput = to(std::make_shared<FileHandle>(STDERR_FILENO));
    request.standardError = to(std::make_shared<FileHandle>(STDOUT_FILENO));
    finish(request);
  }
  first->writing.reset();
  second->writing.reset();
  EXPECT_EQ(first->reading->readToEnd(), "out\n");
  EXPECT_EQ(second->reading->readToEnd(), "err\n");
}

TEST_P(PosixChildStreams, AHandleThatIsMissingFailsTheLaunch) {
  auto request = program("/bin/sh", {"-c", "exit 0"});
  request.standardOutput = to(nullptr);
  EXPECT_EQ(launcher_.launch(request).error, "/bin/sh: " + description(EBADF));
}

INSTANTIATE_TEST_SUITE_P(BothWays, PosixChildStreams, testing::Bool(), nameOfWay);

TEST(PosixFileHandle, OpensOnlyFilesThatExistAndLeavesTheirContents) {
  const TemporaryFolder folder;
  EXPECT_FALSE(FileHandle::forWriting(folder.path() / "missing"));
  EXPECT_FALSE(std::filesystem::exists(folder.path() / "missing"));
  EXPECT_FALSE(FileHandle::forWriting(folder.path()));
  const std::string path = folder.file("file", "abcdef");
  ASSERT_TRUE(FileHandle::forWriting(path)->write("XY"));
  EXPECT_EQ(contentsOf(path), "XYcdef");
}

TEST(PosixFileHandle, ClosesOnExecAndWithItsLastOwner) {
  const TemporaryFolder folder;
  const int before = openDescriptors();
  {
    const auto file = FileHandle::forWriting(folder.file("file", ""));
    const auto pipe = Pipe::create();
    ASSERT_TRUE(file && pipe);
    for (const auto &handle : {file, pipe->reading, pipe->writing}) {
      EXPECT_EQ(::fcntl(handle->descriptor(), F_GETFD), FD_CLOEXEC);
    }
    EXPECT_EQ(openDescriptors(), before + 3);
  }
  EXPECT_EQ(openDescriptors(), before);
}

TEST(PosixFileHandle, CarriesMoreThanAPipeHolds) {
  auto pipe = Pipe::create();
  ASSERT_TRUE(pipe);
  std::string bytes(1u << 20, '\0');
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7);
  auto reader = std::async(std::launch::async, [&] { return pipe->reading->readToEnd(); });
  EXPECT_TRUE(pipe->writing->write(bytes));
  pipe->writing.reset();
  EXPECT_TRUE(reader.get() == bytes);
}

TEST(PosixFileHandle, SaysWhenItCannotWrite) {
  auto pipe = Pipe::create();
  ASSERT_TRUE(pipe);
  EXPECT_FALSE(pipe->reading->write("the wrong end"));
  EXPECT_EQ(pipe->writing->readToEnd(), "");
}

}  // namespace
}  // namespace orvel
