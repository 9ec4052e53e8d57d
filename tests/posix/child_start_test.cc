// The state in which a child process starts, and errors of the launch.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

class ChildStart : public testing::TestWithParam<bool> {
 protected:
  LauncherUnderTest launcher_{GetParam()};
};

TEST_P(ChildStart, ChangesAreAppliedToLauncherEnvironment) {
  LauncherUnderTest launcher(GetParam(), {{"HOME", "/home/a=b"}, {"PORT", "1"}, {"EMPTY", ""}});
  auto request = program("/usr/bin/env");
  request.environmentChanges = {{"PORT", "4767"}, {"PATH", "/a:/b"}};
  std::istringstream lines(run(launcher, request).output);
  std::vector<std::string> variables;
  for (std::string line; std::getline(lines, line);) variables.push_back(line);
  std::sort(variables.begin(), variables.end());
  const std::vector<std::string> expected{"EMPTY=", "HOME=/home/a=b", "PATH=/a:/b", "PORT=4767"};
  EXPECT_EQ(variables, expected);
}

TEST_P(ChildStart, LaterChangesOfEnvironmentAreNotInherited) {
  ::setenv("ORVEL_TEST", "initial = value", 1);
  LauncherUnderTest launcher(GetParam());
  ::setenv("ORVEL_TEST", "changed", 1);
  const auto outcome = runShell(launcher, "printf %s \"$ORVEL_TEST\"");
  ::unsetenv("ORVEL_TEST");
  EXPECT_EQ(outcome.output, "initial = value");
}

TEST_P(ChildStart, ArgumentsAreUnchanged) {
  const auto outcome = run(
      launcher_, program("/bin/sh", {"-c", "printf '[%s]' \"$@\"", "zero", "", "a b", "'\"$x"}));
  EXPECT_EQ(outcome.output, "[][a b]['\"$x]");
}

TEST_P(ChildStart, WorkingDirectoryIsSet) {
  const TemporaryFolder folder;
  auto request = program("/bin/sh", {"-c", "pwd -P"});
  request.workingDirectory = folder.path();
  EXPECT_EQ(run(launcher_, request).output, folder.path().string() + "\n");
}

TEST_P(ChildStart, UnsetOrEmptyWorkingDirectoryIsThatOfParent) {
  auto request = program("/bin/sh", {"-c", "pwd -P"});
  const std::string expected = std::filesystem::canonical(".").string() + "\n";
  EXPECT_EQ(run(launcher_, request).output, expected);
  request.workingDirectory = "";
  EXPECT_EQ(run(launcher_, request).output, expected);
}

/// Ignores and blocks signals in this process during its lifetime.
class IgnoredSignals {
 public:
  explicit IgnoredSignals(const std::vector<int> &signals) {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) {
      sigaddset(&set, signal);
      struct sigaction ignore{};
      ignore.sa_handler = SIG_IGN;
      struct sigaction before{};
      ::sigaction(signal, &ignore, &before);
      before_.emplace_back(signal, before);
    }
    ::pthread_sigmask(SIG_BLOCK, &set, &maskBefore_);
  }
  ~IgnoredSignals() {
    for (const auto &[signal, action] : before_) ::sigaction(signal, &action, nullptr);
    ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
  }
  IgnoredSignals(const IgnoredSignals &) = delete;
  IgnoredSignals &operator=(const IgnoredSignals &) = delete;

 private:
  std::vector<std::pair<int, struct sigaction>> before_;
  sigset_t maskBefore_;
};

TEST_P(ChildStart, SignalsIgnoredOrBlockedInParentStillTerminateChild) {
  const std::vector<int> signals{SIGHUP,  SIGINT,  SIGQUIT, SIGPIPE,
                                 SIGALRM, SIGTERM, SIGUSR1, SIGUSR2};
  const IgnoredSignals ignored(signals);
  for (const int signal : signals) {
    const auto outcome =
        runShell(launcher_, "ulimit -c 0; kill -" + std::to_string(signal) + " $$; exit 99");
    EXPECT_EQ(outcome.status, signal);
  }
}

#if defined(__linux__)
TEST_P(ChildStart, NoSignalIsBlockedOrIgnored) {
  const IgnoredSignals ignored({SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGCHLD, SIGWINCH, SIGRTMIN + 3});
  const auto output =
      run(launcher_, program("/bin/grep", {"-E", "^Sig(Blk|Ign)", "/proc/self/status"})).output;
  // glibc reserves the signals 32 and 33, and posix_spawn sets them to SIG_IGN.
  EXPECT_THAT(output, testing::AnyOf("SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n",
                                     "SigBlk:\t0000000000000000\nSigIgn:\t0000000180000000\n"));
}
#endif

class LaunchFailure : public ChildStart {
 protected:
  /// Launches a process and returns the error text. Fails the test when a process starts
  /// or the termination handler is called.
  std::string errorOf(LaunchRequest request) {
    request.terminationHandler = [](const auto &) {
      ADD_FAILURE() << "termination handler called without a process";
    };
    const auto result = launcher_.launch(request);
    EXPECT_FALSE(result.process);
    EXPECT_FALSE(hasZombie());
    return result.error;
  }
  const TemporaryFolder folder_;
};

TEST_P(LaunchFailure, MissingProgramIsReported) {
  const std::string missing = folder_.path() / "node";
  EXPECT_EQ(errorOf(program(missing)), missing + ": " + description(ENOENT));
}

TEST_P(LaunchFailure, NonExecutableProgramIsReported) {
  const std::string plain = folder_.file("node", "#!/bin/sh\n");
  EXPECT_EQ(errorOf(program(plain)), plain + ": " + description(EACCES));
  EXPECT_EQ(errorOf(program(folder_.path())), folder_.path().string() + ": " + description(EACCES));
}

TEST_P(LaunchFailure, UnrunnableProgramIsReported) {
  const std::string text = folder_.file("text", "echo never\n", true);
  EXPECT_EQ(errorOf(program(text)), text + ": " + description(ENOEXEC));
  const std::string script = folder_.file("script", "#!/nonexistent/orvel/interpreter\n", true);
  EXPECT_EQ(errorOf(program(script)), script + ": " + description(ENOENT));
}

TEST_P(LaunchFailure, ProgramIsNotLookedUpInPATH) {
  EXPECT_EQ(errorOf(program("sh", {"-c", "exit 0"})), "sh: " + description(ENOENT));
  EXPECT_EQ(errorOf(program("")), ": " + description(ENOENT));
}

TEST_P(LaunchFailure, UnusableWorkingDirectoryIsReported) {
  const std::string gone = folder_.path() / "gone";
  auto request = program("/bin/sh", {"-c", "exit 0"});
  request.workingDirectory = gone;
  EXPECT_EQ(errorOf(request), gone + ": " + description(ENOENT));
  request.executable = folder_.path() / "missing as well";
  EXPECT_EQ(errorOf(request), gone + ": " + description(ENOENT));
  request.workingDirectory = folder_.file("file", "");
  EXPECT_EQ(errorOf(request), *request.workingDirectory + ": " + description(ENOTDIR));
}

TEST_P(LaunchFailure, MissingProgramIsReportedWithUsableWorkingDirectory) {
  const std::string missing = folder_.path() / "node";
  auto request = program(missing);
  request.workingDirectory = folder_.path();
  EXPECT_EQ(errorOf(request), missing + ": " + description(ENOENT));
}

TEST_P(LaunchFailure, NulInArgumentOrEnvironmentIsInvalid) {
  const std::string text("exit 0\0 || exit 1", 17);
  EXPECT_EQ(errorOf(program("/bin/sh", {"-c", text})), "/bin/sh: " + description(EINVAL));
  auto request = program("/bin/sh", {"-c", "exit 0"});
  request.environmentChanges["NAME"] = std::string("a\0b", 3);
  EXPECT_EQ(errorOf(request), "/bin/sh: " + description(EINVAL));
}

TEST_P(LaunchFailure, PlatformDescribesError) {
  PosixProcessLauncher launcher(processEnvironment(),
                                [](int error) { return "error " + std::to_string(error); });
  auto request = program("/nonexistent/node");
  request.endsWithParent = GetParam();
  EXPECT_EQ(launcher.launch(request).error, "/nonexistent/node: error " + std::to_string(ENOENT));
}

TEST_P(LaunchFailure, OversizedArgumentsAreReported) {
  EXPECT_EQ(errorOf(program("/bin/sh", {"-c", std::string(8u << 20, ' ')})),
            "/bin/sh: " + description(E2BIG));
}

INSTANTIATE_TEST_SUITE_P(Launcher, ChildStart, testing::Bool(), launcherName);
INSTANTIATE_TEST_SUITE_P(Launcher, LaunchFailure, testing::Bool(), launcherName);

}  // namespace
}  // namespace orvel
