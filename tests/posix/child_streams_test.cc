#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

/// Replaces or closes a standard descriptor of this process during its lifetime.
class ReplacedDescriptor {
 public:
  /// Closes the standard descriptor when the replacement is -1.
  explicit ReplacedDescriptor(int number, int replacement = -1)
      : number_(number), copy_(::fcntl(number, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)) {
    // Earlier output of the tests must not go to the replacement.
    std::fflush(nullptr);
    ::close(number_);
    if (replacement >= 0) ::dup2(replacement, number_);
  }
  ~ReplacedDescriptor() {
    ::dup2(copy_, number_);
    ::close(copy_);
  }
  ReplacedDescriptor(const ReplacedDescriptor &) = delete;
  ReplacedDescriptor &operator=(const ReplacedDescriptor &) = delete;

 private:
  const int number_;
  const int copy_;
};

class ChildStreams : public LauncherTest {
 protected:
  StandardStream streamTo(std::shared_ptr<FileHandle> handle) {
    return {StandardStream::Kind::handle, std::move(handle)};
  }
  /// Runs a process to its end and expects exit code 0. Unlike `run`, does not change the
  /// standard streams of the request.
  void expectSuccessfulRun(const LaunchRequest &request) {
    const auto child = launcher_.launch(request);
    ASSERT_TRUE(child.process) << child.error;
    child.process->waitUntilExit();
    EXPECT_EQ(child.process->terminationStatus(), 0);
  }

  const TemporaryFolder folder_;
};

TEST_P(ChildStreams, OutputAndErrorOnOneHandleShareFilePosition) {
  const std::string log = folder_.file("server.log", "");
  auto request = program("/bin/sh", {"-c", "echo one; echo two >&2; echo three"});
  const auto handle = FileHandle::createPrivate(log);
  ASSERT_TRUE(handle);
  request.standardOutput = streamTo(handle);
  request.standardError = streamTo(handle);
  expectSuccessfulRun(request);
  EXPECT_TRUE(handle->write("four\n"));
  EXPECT_EQ(contentsOf(log), "one\ntwo\nthree\nfour\n");
}

TEST_P(ChildStreams, NullStandardErrorIsOpenAndNotInherited) {
  auto errors = Pipe::create();
  ASSERT_TRUE(errors);
  // echo fails when its standard error is closed.
  auto request = program("/bin/sh", {"-c", "echo discarded >&2 && echo kept"});
  request.standardError.kind = StandardStream::Kind::null;
  {
    const ReplacedDescriptor replaced(STDERR_FILENO, errors->writing->descriptor());
    EXPECT_EQ(run(launcher_, request).output, "kept\n");
  }
  errors->writing.reset();
  EXPECT_EQ(errors->reading->readToEnd(), "");
}

TEST_P(ChildStreams, StandardInputAndOutputAreInheritedByDefault) {
  auto input = Pipe::create();
  auto output = Pipe::create();
  ASSERT_TRUE(input && output);
  ASSERT_TRUE(input->writing->write("inherited"));
  input->writing.reset();
  {
    const ReplacedDescriptor replacedInput(STDIN_FILENO, input->reading->descriptor());
    const ReplacedDescriptor replacedOutput(STDOUT_FILENO, output->writing->descriptor());
    expectSuccessfulRun(program("/bin/cat"));
  }
  output->writing.reset();
  EXPECT_EQ(output->reading->readToEnd(), "inherited");
}

TEST_P(ChildStreams, OnlyStandardDescriptorsAreInherited) {
  std::vector<int> open;
  for (int i = 0; i < 10; ++i) open.push_back(::dup(STDERR_FILENO));
  // Also a number far above the others, after a gap of unused numbers.
  open.push_back(::fcntl(STDERR_FILENO, F_DUPFD, 200));
  ASSERT_GE(open.back(), 200);
  // Descriptor 3 is the folder that ls reads.
  EXPECT_EQ(run(launcher_, program("/bin/ls", {"/dev/fd"})).output, "0\n1\n2\n3\n");
  for (const int descriptor : open) ::close(descriptor);
}

TEST_P(ChildStreams, ClosedStandardInputOrPrivateFileWithItsNumberBecomesNullDevice) {
  const ReplacedDescriptor closedInput(STDIN_FILENO);
  // cat fails when its standard input is closed.
  expectSuccessfulRun(program("/bin/cat"));
  // The pipe gets the free number of standard input. It is private: it has the close-on-exec flag.
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

TEST_P(ChildStreams, HandlesWithSwappedStandardNumbersAreRedirected) {
  auto first = Pipe::create();
  auto second = Pipe::create();
  ASSERT_TRUE(first && second);
  {
    const ReplacedDescriptor output(STDOUT_FILENO, second->writing->descriptor());
    const ReplacedDescriptor errors(STDERR_FILENO, first->writing->descriptor());
    auto request = program("/bin/sh", {"-c", "echo out; echo err >&2"});
    // Each handle has the number of the other stream.
    request.standardOutput = streamTo(std::make_shared<FileHandle>(STDERR_FILENO));
    request.standardError = streamTo(std::make_shared<FileHandle>(STDOUT_FILENO));
    expectSuccessfulRun(request);
  }
  first->writing.reset();
  second->writing.reset();
  EXPECT_EQ(first->reading->readToEnd(), "out\n");
  EXPECT_EQ(second->reading->readToEnd(), "err\n");
}

// Runs each test without and with `endsWithParent`.
INSTANTIATE_TEST_SUITE_P(Launcher, ChildStreams, testing::Bool(), launcherName);

}  // namespace
}  // namespace orvel
