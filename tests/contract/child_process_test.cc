// The contract of child processes.

#include <atomic>
#include <mutex>

#include "tests/contract/contract_platform.h"
#include "tests/support/child_programs.h"

namespace orvel {
namespace {

using namespace child_programs;

/// What a termination handler observed.
struct Report {
  std::shared_ptr<ChildProcess> process;
  bool wasRunning = true;
  int status = 0;
  bool onMainThread = true;
};

class ChildProcessContract : public ContractTest {
 protected:
  /// Launches a program whose termination is recorded.
  LaunchResult launch(LaunchRequest request) {
    request.terminationHandler = [this](const std::shared_ptr<ChildProcess> &process) {
      const std::lock_guard lock(mutex_);
      reports_.push_back(
          {process, process->isRunning(), process->terminationStatus(), platform->onMainThread()});
    };
    return platform->interfaces().processes.launch(request);
  }
  std::shared_ptr<ChildProcess> start(const std::string &commandLine) {
    const LaunchResult result = launch(shell(commandLine));
    EXPECT_EQ(result.error, "");
    return result.process;
  }

  std::vector<Report> reports() {
    const std::lock_guard lock(mutex_);
    return reports_;
  }
  bool waitForReport() {
    return runUntil([this] { return !reports().empty(); });
  }

  /// Runs one more child until its termination handler is called, so that an outstanding
  /// call for an earlier child has arrived.
  bool runAnotherChild() {
    const auto ended = std::make_shared<std::atomic<bool>>(false);
    auto request = shell(exitsWithThree);
    request.terminationHandler = [ended](const auto &) { *ended = true; };
    platform->interfaces().processes.launch(request);
    return runUntil([ended] { return ended->load(); });
  }

  static void expectEnded(ChildProcess &child, int status) {
    child.waitUntilExit();
    EXPECT_FALSE(child.isRunning());
    EXPECT_EQ(child.terminationStatus(), status);
  }

 private:
  std::mutex mutex_;
  std::vector<Report> reports_;
};

TEST_P(ChildProcessContract, TerminationStatusIsExitCode) {
  expectEnded(*start(exitsWithThree), 3);
  ASSERT_TRUE(waitForReport());
}

TEST_P(ChildProcessContract, TerminationStatusIsSignalNumber) {
  expectEnded(*start(killsItself), 9);
  ASSERT_TRUE(waitForReport());
}

TEST_P(ChildProcessContract, RunningChildHasStatusZeroUntilTerminated) {
  const auto child = start(runsUntilTerminated);
  EXPECT_TRUE(runAnotherChild());
  EXPECT_TRUE(child->isRunning());
  EXPECT_EQ(child->terminationStatus(), 0);
  EXPECT_TRUE(reports().empty());

  child->terminate();
  expectEnded(*child, 15);
  ASSERT_TRUE(waitForReport());
  EXPECT_EQ(reports()[0].status, 15);
}

TEST_P(ChildProcessContract, KilledChildHasStatusNine) {
  const auto child = start(runsUntilTerminated);
  child->kill();
  expectEnded(*child, 9);
  ASSERT_TRUE(waitForReport());
}

TEST_P(ChildProcessContract, TerminationHandlerIsCalledOnceOffMainThread) {
  const auto child = start(exitsWithThree);
  ASSERT_TRUE(waitForReport());
  child->waitUntilExit();
  child->terminate();
  child->kill();
  ASSERT_TRUE(runAnotherChild());

  const auto all = reports();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].process, child);
  EXPECT_FALSE(all[0].wasRunning);
  EXPECT_EQ(all[0].status, 3);
  EXPECT_FALSE(all[0].onMainThread);
  EXPECT_EQ(child->terminationStatus(), 3);
}

TEST_P(ChildProcessContract, TerminationHandlerIsCalledWithoutOwnerOfChild) {
  start(exitsWithThree);
  ASSERT_TRUE(waitForReport());
  ASSERT_TRUE(reports()[0].process);
  EXPECT_EQ(reports()[0].status, 3);
}

TEST_P(ChildProcessContract, FailedLaunchReturnsErrorAndCallsNoHandler) {
  LaunchRequest request;
  request.executable = missingProgram;
  const auto child = launch(request);
  EXPECT_FALSE(child.process);
  EXPECT_EQ(child.error, missingProgramError());
  ASSERT_TRUE(runAnotherChild());
  EXPECT_TRUE(reports().empty());
}

INSTANTIATE_ON_EVERY_PLATFORM(ChildProcessContract);

}  // namespace
}  // namespace orvel
