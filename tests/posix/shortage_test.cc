// Launches when the process has no free descriptors, threads or processes.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

TEST(Shortage, DescriptorExhaustionFailsOnlyCallsThatNeedDescriptors) {
  PosixProcessLauncher launcher(processEnvironment());
  const TemporaryFolder folder;
  const std::string path = folder.file("file", "");
  const ResourceLimit limit(RLIMIT_NOFILE, 64);
  std::vector<std::shared_ptr<FileHandle>> handles;
  while (auto handle = FileHandle::createPrivate("/dev/null")) handles.push_back(std::move(handle));
  ASSERT_FALSE(handles.empty());

  EXPECT_FALSE(Pipe::create());
  EXPECT_FALSE(FileHandle::createPrivate(path));
  auto request = program("/bin/sh", {"-c", "exit 3"});
  request.standardError.kind = StandardStream::Kind::null;
  const auto child = launcher.launch(request);
  EXPECT_EQ(child.error, "");
  ASSERT_TRUE(child.process);
  child.process->waitUntilExit();
  EXPECT_EQ(child.process->terminationStatus(), 3);

  // A handle with the number of a standard stream needs one more descriptor.
  const int savedOutput = ::dup2(STDOUT_FILENO, handles.back()->descriptor());
  {
    const auto handle = std::make_shared<FileHandle>(STDOUT_FILENO);
    request.standardOutput = {StandardStream::Kind::handle, handle};
    const auto failed = launcher.launch(request);
    request.standardOutput = {};
    EXPECT_FALSE(failed.process);
    EXPECT_EQ(failed.error, "/bin/sh: " + description(EMFILE));
  }
  ::dup2(savedOutput, STDOUT_FILENO);
}

#if defined(__linux__)
TEST(Shortage, ThreadAndProcessExhaustionFailsLaunch) {
  PosixProcessLauncher launcher(processEnvironment());
  // RLIMIT_NPROC does not apply to root.
  const bool isRoot = ::geteuid() == 0;
  constexpr uid_t nobody = 65534;
  if (isRoot) {
    ASSERT_EQ(::setresuid(nobody, nobody, 0), 0);
  }
  const auto request = program("/bin/sh", {"-c", "exit 3"});
  LaunchResult child;
  int failures = 0;
  // With a rising limit, first no thread can be created, then a thread but no process, and
  // finally both. 5000 bounds the loop.
  for (rlim_t tasks = 0; !child.process && tasks < 5000; ++tasks) {
    const ResourceLimit limit(RLIMIT_NPROC, tasks);
    child = launcher.launch(request);
    if (child.process) break;
    ++failures;
    EXPECT_EQ(child.error, "/bin/sh: " + description(EAGAIN));
  }
  if (isRoot) {
    ASSERT_EQ(::setresuid(0, 0, 0), 0);
  }
  EXPECT_GE(failures, 2);
  ASSERT_TRUE(child.process);
  child.process->waitUntilExit();
  EXPECT_EQ(child.process->terminationStatus(), 3);
  EXPECT_FALSE(hasZombieChild());
}
#endif

}  // namespace
}  // namespace orvel
