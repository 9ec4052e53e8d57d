#include "server/shell_runner.h"

#include "tests/support/posix_test_support.h"
#include "tests/unit/core_test.h"

namespace orvel {
namespace {

/// A process that prints and closes its output only when it is waited for. Reading before
/// the wait would block forever.
class LateProcess final : public ChildProcess {
 public:
  explicit LateProcess(std::shared_ptr<FileHandle> output) : output_(std::move(output)) {}

  bool isRunning() const override { return output_ != nullptr; }
  int terminationStatus() const override { return 0; }
  void terminate() override {}
  void kill() override {}
  void waitUntilExit() override {
    output_->write("late\n");
    output_.reset();
  }

 private:
  std::shared_ptr<FileHandle> output_;
};

class LateLauncher final : public ProcessLauncher {
 public:
  LaunchResult launch(const LaunchRequest &request) override {
    return {std::make_shared<LateProcess>(request.standardOutput.handle), ""};
  }
};

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
  LateLauncher launcher;
  EXPECT_EQ(sh(launcher, "command"), "late");
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
