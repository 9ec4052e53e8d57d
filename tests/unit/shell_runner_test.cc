#include "server/shell_runner.h"

#include <sys/resource.h>

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

/// A launcher that always fails and keeps the request.
class FailingLauncher final : public ProcessLauncher {
 public:
  LaunchResult launch(const LaunchRequest &request) override {
    lastRequest = request;
    lastRequest.standardOutput.handle.reset();
    return {};
  }

  LaunchRequest lastRequest;
};

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
  std::string run(const std::string &output) {
    fake.processes.scriptShell("command", {output});
    return sh(fake.processes, "command");
  }

  FakePlatform fake;
};

TEST_F(ShellRunner, OutputIsTrimmedAtBothEnds) {
  EXPECT_EQ(run("  a b  "), "a b");
  EXPECT_EQ(run("1\n2\n"), "1\n2");
  EXPECT_EQ(run("\t\r\n a\t\n\v\f"), "a");
  EXPECT_EQ(run("\u00a0\u2003\u2028a\u2029\u3000"), "a");
}

TEST_F(ShellRunner, WhiteSpaceOutputIsEmpty) {
  EXPECT_EQ(run(""), "");
  EXPECT_EQ(run(" \n\t \n"), "");
}

TEST_F(ShellRunner, InvalidUtf8OutputIsEmpty) {
  EXPECT_EQ(run("good\xff"), "");
  EXPECT_EQ(run("\xc3"), "");
  EXPECT_EQ(run("\xed\xa0\x80"), "");
  EXPECT_EQ(run("caf\u00e9 \U0001f600\n"), "caf\u00e9 \U0001f600");
}

TEST_F(ShellRunner, CommandRunsInZshWithInheritedEnvironment) {
  FailingLauncher launcher;
  EXPECT_EQ(sh(launcher, "echo 'a b'"), "");
  const LaunchRequest &request = launcher.lastRequest;
  EXPECT_EQ(request.executable, "/bin/zsh");
  EXPECT_THAT(request.arguments, ElementsAre("-c", "echo 'a b'"));
  EXPECT_EQ(request.workingDirectory, std::nullopt);
  EXPECT_THAT(request.environmentChanges, IsEmpty());
  EXPECT_EQ(request.standardOutput.kind, StandardStream::Kind::handle);
  EXPECT_EQ(request.standardError.kind, StandardStream::Kind::null);
}

TEST_F(ShellRunner, OutputIsReadAfterExit) {
  LateLauncher launcher;
  EXPECT_EQ(sh(launcher, "command"), "late");
}

TEST_F(ShellRunner, DescriptorExhaustionLaunchesNothing) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::string output = sh(fake.processes, "command");
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(output, "");
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

TEST_F(ShellRunner, FailedLaunchReturnsEmptyText) {
  fake.processes.script("command", {{.launchError = "no such file"}});
  EXPECT_EQ(sh(fake.processes, "command"), "");
}

TEST_F(ShellRunner, WaitsForExit) {
  fake.processes.script("command", {{.output = "done", .exitsAfter = 5s}});
  EXPECT_EQ(sh(fake.processes, "command"), "done");
  EXPECT_EQ(fake.scheduler.now(), 5s);
}

}  // namespace
}  // namespace orvel
