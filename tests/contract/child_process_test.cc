// What every platform promises of child processes, a scripted one included.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include "tests/contract/contract_platform.h"
#include "tests/support/child_programs.h"

namespace orvel {
namespace {

class ChildProcessContract : public testing::TestWithParam<PlatformUnderContract> {
 protected:
  LaunchResult launch(const LaunchRequest &request) {
    return platform_->ports().processes.launch(request);
  }

  /// Runs one more child until its own handler has been told: whatever was
  /// still on its way for an earlier one has arrived by then.
  bool runAnotherToItsEnd() {
    auto told = std::make_shared<std::atomic<bool>>(false);
    auto request = child_programs::shell(child_programs::exitsWithThree);
    request.terminationHandler = [told](const auto &) { *told = true; };
    launch(request);
    return platform_->runUntil([told] { return told->load(); });
  }

  std::unique_ptr<ContractPlatform> platform_ = GetParam().make();
};

/// What a termination handler saw.
struct Report {
  std::shared_ptr<ChildProcess> process;
  bool wasRunning = true;
  int status = 0;
  bool onMainThread = true;
};

class Reports {
 public:
  std::function<void(const std::shared_ptr<ChildProcess> &)> handler(ContractPlatform &platform) {
    return [this, &platform](const std::shared_ptr<ChildProcess> &process) {
      const std::lock_guard lock(mutex_);
      all_.push_back(
          {process, process->isRunning(), process->terminationStatus(), platform.onMainThread()});
    };
  }
  std::vector<Report> all() {
    const std::lock_guard lock(mutex_);
    return all_;
  }

 private:
  std::mutex mutex_;
  std::vector<Report> all_;
};

TEST_P(ChildProcessContract, GivesTheExitCode) {
  const auto child = launch(child_programs::shell(child_programs::exitsWithThree));
  ASSERT_TRUE(child.process);
  EXPECT_EQ(child.error, "");
  child.process->waitUntilExit();
  EXPECT_FALSE(child.process->isRunning());
  EXPECT_EQ(child.process->terminationStatus(), 3);
}

TEST_P(ChildProcessContract, GivesTheNumberOfTheSignal) {
  const auto child = launch(child_programs::shell(child_programs::killsItself));
  ASSERT_TRUE(child.process);
  child.process->waitUntilExit();
  EXPECT_FALSE(child.process->isRunning());
  EXPECT_EQ(child.process->terminationStatus(), 9);
}

TEST_P(ChildProcessContract, RunsWithStatusZeroUntilItIsAskedToEnd) {
  const auto child = launch(child_programs::shell(child_programs::runsUntilAsked));
  ASSERT_TRUE(child.process);
  EXPECT_TRUE(runAnotherToItsEnd());
  EXPECT_TRUE(child.process->isRunning());
  EXPECT_EQ(child.process->terminationStatus(), 0);

  child.process->terminate();
  child.process->waitUntilExit();
  EXPECT_FALSE(child.process->isRunning());
  EXPECT_EQ(child.process->terminationStatus(), 15);
}

TEST_P(ChildProcessContract, EndsWithoutBeingAsked) {
  const auto child = launch(child_programs::shell(child_programs::runsUntilAsked));
  ASSERT_TRUE(child.process);
  child.process->kill();
  child.process->waitUntilExit();
  EXPECT_EQ(child.process->terminationStatus(), 9);
}

TEST_P(ChildProcessContract, TellsItsEndOnceAwayFromTheMainThread) {
  Reports reports;
  auto request = child_programs::shell(child_programs::exitsWithThree);
  request.terminationHandler = reports.handler(*platform_);
  const auto child = launch(request);
  ASSERT_TRUE(platform_->runUntil([&] { return !reports.all().empty(); }));
  child.process->waitUntilExit();
  child.process->terminate();
  child.process->kill();
  ASSERT_TRUE(runAnotherToItsEnd());

  const auto all = reports.all();
  ASSERT_EQ(all.size(), 1u);
  EXPECT_EQ(all[0].process, child.process);
  EXPECT_FALSE(all[0].wasRunning);
  EXPECT_EQ(all[0].status, 3);
  EXPECT_FALSE(all[0].onMainThread);
  EXPECT_EQ(child.process->terminationStatus(), 3);
}

TEST_P(ChildProcessContract, TellsTheEndOfAChildThatWasAskedToEnd) {
  Reports reports;
  auto request = child_programs::shell(child_programs::runsUntilAsked);
  request.terminationHandler = reports.handler(*platform_);
  const auto child = launch(request);
  ASSERT_TRUE(child.process);
  ASSERT_TRUE(runAnotherToItsEnd());
  EXPECT_TRUE(reports.all().empty());
  child.process->terminate();
  ASSERT_TRUE(platform_->runUntil([&] { return !reports.all().empty(); }));
  EXPECT_EQ(reports.all()[0].status, 15);
}

TEST_P(ChildProcessContract, TellsTheEndOfAChildThatNobodyHolds) {
  Reports reports;
  auto request = child_programs::shell(child_programs::exitsWithThree);
  request.terminationHandler = reports.handler(*platform_);
  launch(request);
  ASSERT_TRUE(platform_->runUntil([&] { return !reports.all().empty(); }));
  ASSERT_TRUE(reports.all()[0].process);
  EXPECT_EQ(reports.all()[0].status, 3);
}

TEST_P(ChildProcessContract, DescribesWhyThereIsNoProcess) {
  Reports reports;
  LaunchRequest request;
  request.executable = child_programs::missingProgram;
  request.terminationHandler = reports.handler(*platform_);
  const auto child = launch(request);
  EXPECT_FALSE(child.process);
  EXPECT_EQ(child.error, child_programs::missingProgramError());
  ASSERT_TRUE(runAnotherToItsEnd());
  EXPECT_TRUE(reports.all().empty());
}

INSTANTIATE_TEST_SUITE_P(EveryPlatform, ChildProcessContract,
                         testing::ValuesIn(platformsUnderContract()),
                         [](const auto &platform) { return platform.param.name; });

}  // namespace
}  // namespace orvel
