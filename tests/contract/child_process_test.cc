#include <atomic>
#include <csignal>
#include <mutex>
#include <stdexcept>

#include "tests/contract/contract_platform.h"
#include "tests/support/child_programs.h"

namespace orvel {
namespace {

using namespace child_programs;

/// A call of a termination handler, with the state of the child during the call.
struct HandlerCall {
  std::shared_ptr<ChildProcess> process;
  bool wasRunning = true;
  int status = 0;
  bool onMainThread = true;
};

class ChildProcessContract : public ContractTest {
 protected:
  /// Launches a program and records the call of its termination handler. A test must wait for
  /// this call before it ends, because the handler refers to the test.
  LaunchResult launch(LaunchRequest request) {
    request.terminationHandler = [this](const std::shared_ptr<ChildProcess> &process) {
      const std::lock_guard lock(mutex_);
      handlerCalls_.push_back(
          {process, process->isRunning(), process->terminationStatus(), platform->onMainThread()});
    };
    return platform->interfaces().processes.launch(request);
  }
  std::shared_ptr<ChildProcess> launchShell(const std::string &commandLine) {
    const LaunchResult result = launch(shell(commandLine));
    if (!result.process) throw std::runtime_error(result.error);
    EXPECT_EQ(result.error, "");
    return result.process;
  }

  std::vector<HandlerCall> handlerCalls() {
    const std::lock_guard lock(mutex_);
    return handlerCalls_;
  }
  bool waitForHandlerCalls(std::size_t count = 1) {
    return runUntil([this, count] { return handlerCalls().size() >= count; });
  }

  /// Runs another child until its termination handler is called, which leaves time for a wrong
  /// call for an earlier child.
  bool runAnotherChild() {
    // Shared with the handler, which may run after a wait that has timed out.
    const auto ended = std::make_shared<std::atomic<bool>>(false);
    auto request = shell(exitsWithStatusThree);
    request.terminationHandler = [ended](const auto &) { *ended = true; };
    platform->interfaces().processes.launch(request);
    return runUntil([ended] { return ended->load(); });
  }

  static void waitAndExpectStatus(ChildProcess &child, int status) {
    child.waitUntilExit();
    EXPECT_FALSE(child.isRunning());
    EXPECT_EQ(child.terminationStatus(), status);
  }

 private:
  std::mutex mutex_;
  std::vector<HandlerCall> handlerCalls_;
};

TEST_P(ChildProcessContract, StatusIsExitCodeOrSignalNumber) {
  waitAndExpectStatus(*launchShell(exitsWithStatusThree), 3);
  waitAndExpectStatus(*launchShell(killsItselfWithSigkill), SIGKILL);
  const auto killed = launchShell(runsUntilTerminated);
  killed->kill();
  waitAndExpectStatus(*killed, SIGKILL);
  ASSERT_TRUE(waitForHandlerCalls(3));
}

TEST_P(ChildProcessContract, RunningChildHasStatusZeroUntilTerminated) {
  const auto child = launchShell(runsUntilTerminated);
  EXPECT_TRUE(runAnotherChild());
  EXPECT_TRUE(child->isRunning());
  EXPECT_EQ(child->terminationStatus(), 0);
  EXPECT_TRUE(handlerCalls().empty());

  child->terminate();
  waitAndExpectStatus(*child, SIGTERM);
  ASSERT_TRUE(waitForHandlerCalls());
  EXPECT_EQ(handlerCalls()[0].status, SIGTERM);
}

TEST_P(ChildProcessContract, TerminationHandlerIsCalledOnceOffMainThread) {
  const auto child = launchShell(exitsWithStatusThree);
  ASSERT_TRUE(waitForHandlerCalls());
  child->waitUntilExit();
  // Signals to an ended child have no effect, so the handler is not called again.
  child->terminate();
  child->kill();
  ASSERT_TRUE(runAnotherChild());

  const auto calls = handlerCalls();
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].process, child);
  EXPECT_FALSE(calls[0].wasRunning);
  EXPECT_EQ(calls[0].status, 3);
  EXPECT_FALSE(calls[0].onMainThread);
  EXPECT_EQ(child->terminationStatus(), 3);
}

TEST_P(ChildProcessContract, TerminationHandlerOfUnreferencedChildIsCalled) {
  launchShell(exitsWithStatusThree);
  ASSERT_TRUE(waitForHandlerCalls());
  ASSERT_TRUE(handlerCalls()[0].process);
  EXPECT_EQ(handlerCalls()[0].status, 3);
}

TEST_P(ChildProcessContract, FailedLaunchReturnsErrorAndCallsNoHandler) {
  LaunchRequest request;
  request.executable = missingProgram;
  const auto result = launch(request);
  EXPECT_FALSE(result.process);
  EXPECT_EQ(result.error, missingProgramError());
  ASSERT_TRUE(runAnotherChild());
  EXPECT_TRUE(handlerCalls().empty());
}

INSTANTIATE_ON_EVERY_PLATFORM(ChildProcessContract);

}  // namespace
}  // namespace orvel
