#include "server/shell_runner.h"

#include "tests/support/posix_test_support.h"
#include "tests/unit/core_test.h"

namespace orvel {
namespace {

class ShellRunner : public testing::Test {
 protected:
  FakePlatform fake;
};

TEST_F(ShellRunner, StandardErrorIsDiscardedAndEnvironmentInherited) {
  LaunchRequest launched;
  fake.processes.onLaunch = [&](const LaunchRequest &request) {
    launched = request;
    // sh() reads until all writing ends of the pipe are closed, and this copy holds one.
    launched.standardOutput.handle.reset();
  };
  sh(fake.processes, "echo 'a b'");
  EXPECT_THAT(fake.record.take(), ElementsAre("sh echo 'a b'"));
  EXPECT_EQ(launched.workingDirectory, "");
  EXPECT_THAT(launched.environmentChanges, IsEmpty());
  EXPECT_EQ(launched.standardOutput.kind, StandardStream::Kind::handle);
  EXPECT_EQ(launched.standardError.kind, StandardStream::Kind::null);
}

TEST_F(ShellRunner, OutputIsReadAfterExit) {
  fake.processes.setScripts("command", {{.exitsAfter = 1s}});
  // The task writes during the wait for the exit, and keeps the pipe open until then. Reading
  // before the wait would block forever.
  fake.processes.onLaunch = [this](const LaunchRequest &request) {
    fake.backgroundQueue.post(
        [output = request.standardOutput.handle] { output->write("late\n"); });
  };
  EXPECT_EQ(sh(fake.processes, "command"), "late");
}

TEST_F(ShellRunner, FailedLaunchReturnsEmptyText) {
  fake.processes.setScripts("command", {{.launchError = "/bin/zsh: No such file or directory"}});
  EXPECT_EQ(sh(fake.processes, "command"), "");
}

TEST_F(ShellRunner, DescriptorExhaustionLaunchesNothing) {
  const posix_test::ResourceLimit noDescriptors(RLIMIT_NOFILE, 0);
  EXPECT_EQ(sh(fake.processes, "command"), "");
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

}  // namespace
}  // namespace orvel
