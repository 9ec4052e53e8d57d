#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <fstream>
#include <future>
#include <stdexcept>
#include <thread>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

class ChildExit : public LauncherTest {
 protected:
  std::shared_ptr<ChildProcess> launch(const LaunchRequest &request) {
    const auto result = launcher_.launch(request);
    if (!result.process) throw std::runtime_error(result.error);
    EXPECT_EQ(result.error, "");
    return result.process;
  }
  /// Launches a shell command and waits for the first line of its output.
  std::shared_ptr<ChildProcess> launchAndReadLine(const std::string &commandLine,
                                                  std::string &line) {
    auto pipe = Pipe::create();
    output_ = pipe->reading;
    auto request = program("/bin/sh", {"-c", commandLine});
    request.standardOutput = {StandardStream::Kind::handle, pipe->writing};
    auto process = launch(request);
    line = readLine(*output_);
    return process;
  }

  /// The output of the process that launchAndReadLine has launched last.
  std::shared_ptr<FileHandle> output_;
};

/// Starts a child process without the launcher. Returns its process ID, or -1.
pid_t forkUnrelatedChild(const char *commandLine) {
  const pid_t child = ::fork();
  if (child == 0) {
    ::execl("/bin/sh", "sh", "-c", commandLine, nullptr);
    ::_exit(127);
  }
  return child;
}

TEST_P(ChildExit, StatusIsExitCodeOrSignalNumber) {
  EXPECT_EQ(runShell(launcher_, "exit 0").status, 0);
  EXPECT_EQ(runShell(launcher_, "exit 255").status, 255);
  // A shell exits with 137 (128 + 9) after SIGKILL of its child; here it is a plain exit code.
  EXPECT_EQ(runShell(launcher_, "exit 137").status, 137);
  EXPECT_EQ(runShell(launcher_, "kill -KILL $$").status, SIGKILL);
  // ulimit prevents a core file.
  EXPECT_EQ(runShell(launcher_, "ulimit -c 0; kill -ABRT $$").status, SIGABRT);
}

TEST_P(ChildExit, ThousandLaunchesAndFailedLaunchesLeaveNoDescriptorOrZombie) {
  const int descriptorsBefore = openDescriptorCount();
  std::atomic<int> handlerCalls = 0;
  auto request = program("/usr/bin/true");
  request.terminationHandler = [&handlerCalls](const auto &) { ++handlerCalls; };
  for (int i = 0; i < 1000; ++i) {
    auto pipe = Pipe::create();
    ASSERT_TRUE(pipe);
    request.standardOutput = {StandardStream::Kind::handle, std::move(pipe->writing)};
    const auto process = launch(request);
    EXPECT_FALSE(launcher_.launch(program("/nonexistent/orvel/program")).process);
    process->waitUntilExit();
    ASSERT_EQ(process->terminationStatus(), 0);
  }
  // Closes the writing end of the last pipe.
  request.standardOutput = {};
  EXPECT_TRUE(eventually([&] { return handlerCalls == 1000; }));
  EXPECT_EQ(openDescriptorCount(), descriptorsBefore);
  EXPECT_FALSE(hasZombieChild());
}

TEST_P(ChildExit, ChildThatSurvivesSigtermEndsOnSigkill) {
  std::string line;
  const auto child = launchAndReadLine(
      "trap 'echo trapped' TERM; echo ready; for i in $(seq 1000); do sleep 0.02; done", line);
  ASSERT_EQ(line, "ready");
  child->terminate();
  EXPECT_EQ(readLine(*output_), "trapped");
  EXPECT_TRUE(child->isRunning());
  child->kill();
  child->waitUntilExit();
  EXPECT_EQ(child->terminationStatus(), SIGKILL);
}

TEST_P(ChildExit, StoppedChildCountsAsRunning) {
  std::string line;
  const auto child = launchAndReadLine("echo $$; kill -STOP $$; exit 4", line);
  const pid_t processId = std::stoi(line);
  siginfo_t info{};
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(processId), &info, WSTOPPED | WNOWAIT), 0);
  EXPECT_TRUE(child->isRunning());
  ::kill(processId, SIGCONT);
  child->waitUntilExit();
  EXPECT_EQ(child->terminationStatus(), 4);
}

TEST_P(ChildExit, ChildForkedByOtherCodeIsNotReaped) {
  const pid_t unrelated = forkUnrelatedChild("exit 5");
  ASSERT_GT(unrelated, 0);
  siginfo_t info{};
  // Waits for the end of the child, which stays a zombie (WNOWAIT).
  ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(unrelated), &info, WEXITED | WNOWAIT), 0);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(runShell(launcher_, "exit 6").status, 6);
  int status = 0;
  ASSERT_EQ(::waitpid(unrelated, &status, 0), unrelated);
  EXPECT_EQ(WEXITSTATUS(status), 5);
}

#if defined(__linux__)
TEST_P(ChildExit, ProcessWithReusedProcessIdGetsNoSignal) {
  std::string line;
  const auto child = launchAndReadLine("echo $$", line);
  child->waitUntilExit();
  const pid_t processId = std::stoi(line);

  pid_t unrelated = -1;
  for (int attempt = 0; attempt < 1000; ++attempt) {
    // The next fork gets the process ID after ns_last_pid, if no other process forks first.
    // Writing needs CAP_SYS_ADMIN.
    if (!(std::ofstream("/proc/sys/kernel/ns_last_pid") << processId - 1 << std::flush)) break;
    unrelated = forkUnrelatedChild("exec /bin/sleep 600");
    if (unrelated == processId) break;
    ::kill(unrelated, SIGKILL);
    ::waitpid(unrelated, nullptr, 0);
  }
  if (unrelated != processId) GTEST_SKIP() << "the process ID could not be reused";
  child->terminate();
  child->kill();
  // SIGTERM and SIGKILL would have ended the process before this signal.
  ::kill(unrelated, SIGUSR1);
  int status = 0;
  ASSERT_EQ(::waitpid(unrelated, &status, 0), unrelated);
  EXPECT_EQ(WTERMSIG(status), SIGUSR1);
  EXPECT_EQ(child->terminationStatus(), 0);
}
#endif

TEST_P(ChildExit, ChildReapedElsewhereCountsAsEndedWithUnknownStatus) {
  const auto child = launch(program("/bin/sleep", {"600"}));
  // While SIGCHLD is ignored, the kernel itself reaps children and discards their status.
  const auto handlerBefore = std::signal(SIGCHLD, SIG_IGN);
  child->kill();
  child->waitUntilExit();
  std::signal(SIGCHLD, handlerBefore);
  EXPECT_FALSE(child->isRunning());
  EXPECT_EQ(child->terminationStatus(), -1);
}

TEST_P(ChildExit, BlockedTerminationHandlerDelaysNeitherExitNorLaunch) {
  std::promise<void> release;
  std::atomic<bool> handlerStarted = false;
  std::atomic<bool> handlerReturned = false;
  auto request = program("/usr/bin/true");
  request.terminationHandler = [&, released = release.get_future().share()](const auto &) {
    handlerStarted = true;
    released.wait();
    handlerReturned = true;
  };
  const auto child = launch(request);
  EXPECT_TRUE(eventually([&] { return handlerStarted.load(); }));
  child->waitUntilExit();
  EXPECT_FALSE(hasZombieChild());
  EXPECT_EQ(runShell(launcher_, "exit 2").status, 2);
  EXPECT_FALSE(handlerReturned);
  release.set_value();
  EXPECT_TRUE(eventually([&] { return handlerReturned.load(); }));
}

TEST_P(ChildExit, UnreferencedChildIsReapedAndReleased) {
  const auto captured = std::make_shared<int>(0);
  auto request = program("/usr/bin/true");
  request.terminationHandler = [captured](const auto &) {};
  std::weak_ptr<ChildProcess> process = launch(request);
  request.terminationHandler = nullptr;
  EXPECT_TRUE(eventually([&] { return process.expired() && captured.use_count() == 1; }));
  EXPECT_FALSE(hasZombieChild());
}

TEST_P(ChildExit, ConcurrentKillAndWaitCallHandlerOnce) {
  constexpr int launches = 50;
  std::atomic<int> handlerCalls = 0;
  auto request = program("/usr/bin/true");
  request.terminationHandler = [&handlerCalls](const auto &) { ++handlerCalls; };
  for (int i = 1; i <= launches; ++i) {
    const auto child = launch(request);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
      threads.emplace_back([&child, thread] {
        if (thread % 2 == 0) child->kill();
        child->waitUntilExit();
        EXPECT_FALSE(child->isRunning());
      });
    }
    for (std::thread &thread : threads) thread.join();
    EXPECT_TRUE(child->terminationStatus() == 0 || child->terminationStatus() == SIGKILL);
    EXPECT_TRUE(eventually([&] { return handlerCalls >= i; }));
  }
  EXPECT_EQ(handlerCalls, launches);
}

TEST_P(ChildExit, ConcurrentLaunchesReturnOwnOutputAndStatus) {
  const int descriptorsBefore = openDescriptorCount();
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([this, thread] {
      for (int i = 0; i < 20; ++i) {
        const std::string text = std::to_string(thread) + "-" + std::to_string(i);
        const auto outcome = runShell(launcher_, "printf %s " + text + "; exit 7");
        EXPECT_EQ(outcome.output, text);
        EXPECT_EQ(outcome.status, 7);
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_FALSE(hasZombieChild());
  EXPECT_TRUE(eventually([&] { return openDescriptorCount() == descriptorsBefore; }));
}

// Runs each test without and with `endsWithParent`.
INSTANTIATE_TEST_SUITE_P(Launcher, ChildExit, testing::Bool(), launcherName);

}  // namespace
}  // namespace orvel
