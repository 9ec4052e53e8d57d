#include "server/shell_runner.h"

#include <sys/resource.h>

#include "tests/unit/core_test.h"

namespace orvel {
namespace {

/// Launches nothing, and keeps what it was asked for.
class NoLauncher final : public ProcessLauncher {
 public:
  LaunchResult launch(const LaunchRequest &request) override {
    asked = request;
    asked.standardOutput.handle.reset();
    return {};
  }

  LaunchRequest asked;
};

/// A process that prints when somebody waits for it, and has its output open
/// until then: a reader who does not wait first would block for ever.
class LateProcess final : public ChildProcess {
 public:
  explicit LateProcess(std::shared_ptr<FileHandle> output) : output_(std::move(output)) {}

  bool isRunning() const override { return output_ != nullptr; }
  int terminationStatus() const override { return 0; }
  void terminate() override {}
  void kill() override {}
  void waitUntilExit() override {
    output_->write("laat\n");
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
    fake.processes.scriptShell("opdracht", {output});
    return sh(fake.processes, "opdracht");
  }

  FakePlatform fake;
};

TEST_F(ShellRunner, trimsBothEndsAndKeepsTheInside) {
  EXPECT_EQ(run("  a b  "), "a b");
  EXPECT_EQ(run("1\n2\n"), "1\n2");
  EXPECT_EQ(run("\t\r\n a\t\n\v\f"), "a");
  EXPECT_EQ(run("\u00a0\u2003\u2028a\u2029\u3000"), "a");
}

TEST_F(ShellRunner, whiteSpaceAloneIsTheEmptyText) {
  EXPECT_EQ(run(""), "");
  EXPECT_EQ(run(" \n\t \n"), "");
}

TEST_F(ShellRunner, outputThatIsNotUtf8IsTheEmptyText) {
  EXPECT_EQ(run("goed\xff"), "");
  EXPECT_EQ(run("\xc3"), "");
  EXPECT_EQ(run("\xed\xa0\x80"), "");
  EXPECT_EQ(run("caf\u00e9 \U0001f600\n"), "caf\u00e9 \U0001f600");
}

TEST_F(ShellRunner, runsZshWithTheCommandAloneInTheApplicationsOwnSurroundings) {
  NoLauncher launcher;
  EXPECT_EQ(sh(launcher, "echo 'a b'"), "");
  const LaunchRequest &request = launcher.asked;
  EXPECT_EQ(request.executable, "/bin/zsh");
  EXPECT_THAT(request.arguments, ElementsAre("-c", "echo 'a b'"));
  EXPECT_EQ(request.workingDirectory, std::nullopt);
  EXPECT_THAT(request.environmentChanges, IsEmpty());
  EXPECT_EQ(request.standardOutput.kind, StandardStream::Kind::handle);
  EXPECT_EQ(request.standardError.kind, StandardStream::Kind::null);
}

TEST_F(ShellRunner, readsOnlyWhenTheCommandHasEnded) {
  LateLauncher launcher;
  EXPECT_EQ(sh(launcher, "opdracht"), "laat");
}

TEST_F(ShellRunner, withoutADescriptorLeftIsTheEmptyTextAndLaunchesNothing) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
  rlimit none = before;
  none.rlim_cur = 0;
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
  const std::string output = sh(fake.processes, "opdracht");
  ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
  EXPECT_EQ(output, "");
  EXPECT_THAT(fake.record.take(), IsEmpty());
}

TEST_F(ShellRunner, failedLaunchIsTheEmptyTextAndDoesNotBlock) {
  fake.processes.script("opdracht", {{.launchError = "no such file"}});
  EXPECT_EQ(sh(fake.processes, "opdracht"), "");
}

TEST_F(ShellRunner, waitsForTheCommandToEnd) {
  fake.processes.script("opdracht", {{.output = "klaar", .exitsAfter = 5s}});
  EXPECT_EQ(sh(fake.processes, "opdracht"), "klaar");
  EXPECT_EQ(fake.scheduler.now(), 5s);
}

}  // namespace
}  // namespace orvel
