#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <set>
#include <sstream>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

using ChildStart = LauncherTest;

TEST_P(ChildStart, RequestVariablesExtendAndOverrideLauncherEnvironment) {
  LauncherUnderTest launcher(GetParam(), {{"HOME", "/home/a=b"}, {"PORT", "1"}, {"EMPTY", ""}});
  auto request = program("/usr/bin/env");
  request.environmentChanges = {{"PORT", "4767"}, {"PATH", "/a:/b"}};
  std::istringstream lines(run(launcher, request).output);
  std::set<std::string> variables;
  for (std::string line; std::getline(lines, line);) variables.insert(line);
  const std::set<std::string> expected{"EMPTY=", "HOME=/home/a=b", "PATH=/a:/b", "PORT=4767"};
  EXPECT_EQ(variables, expected);
}

TEST_P(ChildStart, ArgumentsReachProgramUnchanged) {
  // sh takes "zero" as $0, which is not in $@.
  const auto outcome = run(
      launcher_, program("/bin/sh", {"-c", "printf '[%s]' \"$@\"", "zero", "", "a b", "'\"$x"}));
  EXPECT_EQ(outcome.output, "[][a b]['\"$x]");
}

TEST_P(ChildStart, WorkingDirectoryIsFromRequestOrParent) {
  const TemporaryFolder folder;
  const std::string parentDirectory = std::filesystem::canonical(".");
  const std::vector<std::pair<std::string, std::string>> rows{{"", parentDirectory},
                                                              {folder.path(), folder.path()}};
  for (const auto &[directory, expected] : rows) {
    auto request = program("/bin/sh", {"-c", "pwd -P"});
    request.workingDirectory = directory;
    EXPECT_EQ(run(launcher_, request).output, expected + "\n");
  }
}

/// Ignores signals in this process, and blocks them in this thread and in the threads that it
/// starts, during the lifetime of the object.
class IgnoredAndBlockedSignals {
 public:
  explicit IgnoredAndBlockedSignals(const std::vector<int> &signals) {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals) {
      sigaddset(&set, signal);
      handlersBefore_.emplace_back(signal, std::signal(signal, SIG_IGN));
    }
    ::pthread_sigmask(SIG_BLOCK, &set, &maskBefore_);
  }
  ~IgnoredAndBlockedSignals() {
    for (const auto &[signal, handler] : handlersBefore_) std::signal(signal, handler);
    ::pthread_sigmask(SIG_SETMASK, &maskBefore_, nullptr);
  }
  IgnoredAndBlockedSignals(const IgnoredAndBlockedSignals &) = delete;
  IgnoredAndBlockedSignals &operator=(const IgnoredAndBlockedSignals &) = delete;

 private:
  std::vector<std::pair<int, void (*)(int)>> handlersBefore_;
  sigset_t maskBefore_;
};

TEST_P(ChildStart, SignalsIgnoredAndBlockedInParentStillTerminateChild) {
  const std::vector<int> signals{SIGHUP,  SIGINT,  SIGQUIT, SIGPIPE,
                                 SIGALRM, SIGTERM, SIGUSR1, SIGUSR2};
  const IgnoredAndBlockedSignals ignored(signals);
  // While SIGCHLD is ignored, the kernel discards exit statuses (waitpid(2)). The constructor of
  // the launcher restores the default.
  const IgnoredAndBlockedSignals ignoredSigchld({SIGCHLD});
  LauncherUnderTest launcher(GetParam());
  for (const int signal : signals) {
    // ulimit prevents a core file of SIGQUIT.
    const auto outcome =
        runShell(launcher, "ulimit -c 0; kill -" + std::to_string(signal) + " $$; exit 99");
    EXPECT_EQ(outcome.status, signal);
  }
}

#if defined(__linux__)
TEST_P(ChildStart, ChildNeitherBlocksNorIgnoresSignals) {
  const IgnoredAndBlockedSignals ignored(
      {SIGHUP, SIGINT, SIGPIPE, SIGTERM, SIGCHLD, SIGWINCH, SIGRTMIN + 3});
  const auto output =
      run(launcher_, program("/bin/grep", {"-E", "^Sig(Blk|Ign)", "/proc/self/status"})).output;
  // The masks are hexadecimal, with bit 0 for signal 1. glibc reserves the signals 32 and 33, and
  // its posix_spawn sets them to SIG_IGN.
  EXPECT_THAT(output, testing::AnyOf("SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n",
                                     "SigBlk:\t0000000000000000\nSigIgn:\t0000000180000000\n"));
}
#endif

class LaunchFailure : public LauncherTest {
 protected:
  /// Expects that a launch fails with the path and the description of the errno value.
  void expectLaunchError(LaunchRequest request, const std::string &path, int errorNumber) {
    request.terminationHandler = [](const auto &) {
      ADD_FAILURE() << "termination handler called without a process";
    };
    const auto result = launcher_.launch(request);
    EXPECT_FALSE(result.process) << path;
    EXPECT_EQ(result.error, path + ": " + errnoDescription(errorNumber));
    EXPECT_FALSE(hasZombieChild());
  }
  const TemporaryFolder folder_;
};

TEST_P(LaunchFailure, LaunchErrorNamesUnusableProgram) {
  const std::string missing = folder_.path() / "missing";
  const std::string notExecutable = folder_.file("not executable", "#!/bin/sh\n");
  const std::string withoutShebang = folder_.file("text", "echo never\n", /*isExecutable=*/true);
  const std::string missingInterpreter =
      folder_.file("script", "#!/nonexistent/interpreter\n", /*isExecutable=*/true);
  // "sh" and the empty path are not looked up in PATH.
  const std::vector<std::pair<std::string, int>> rows{{missing, ENOENT},
                                                      {notExecutable, EACCES},
                                                      {folder_.path(), EACCES},
                                                      {withoutShebang, ENOEXEC},
                                                      {missingInterpreter, ENOENT},
                                                      {"sh", ENOENT},
                                                      {"", ENOENT}};
  for (const auto &[path, errorNumber] : rows) expectLaunchError(program(path), path, errorNumber);
}

TEST_P(LaunchFailure, LaunchErrorNamesUnusableWorkingDirectoryElseProgram) {
  const std::string missing = folder_.path() / "missing";
  const std::string file = folder_.file("file", "");
  auto request = program("/bin/sh", {"-c", "exit 0"});
  request.workingDirectory = missing;
  expectLaunchError(request, missing, ENOENT);
  request.workingDirectory = file;
  expectLaunchError(request, file, ENOTDIR);
  request.executable = folder_.path() / "missing as well";
  request.workingDirectory = missing;
  expectLaunchError(request, missing, ENOENT);
  request.workingDirectory = folder_.path();
  expectLaunchError(request, request.executable, ENOENT);
}

TEST_P(LaunchFailure, InvalidRequestFailsLaunch) {
  using namespace std::string_literals;
  const std::string textWithNul = "exit 0\0 || exit 1"s;
  expectLaunchError(program("/bin/sh", {"-c", textWithNul}), "/bin/sh", EINVAL);
  auto request = program("/bin/sh", {"-c", "exit 0"});
  request.environmentChanges["NAME"] = textWithNul;
  expectLaunchError(request, "/bin/sh", EINVAL);
  request.environmentChanges.clear();
  request.standardOutput = {StandardStream::Kind::handle, nullptr};
  expectLaunchError(request, "/bin/sh", EBADF);
  // 8 MiB exceeds the kernel's limit for the arguments of a program.
  const std::string oversized(8u << 20, ' ');
  expectLaunchError(program("/bin/sh", {"-c", oversized}), "/bin/sh", E2BIG);
}

// Runs each test without and with `endsWithParent`.
INSTANTIATE_TEST_SUITE_P(Launcher, ChildStart, testing::Bool(), launcherName);
INSTANTIATE_TEST_SUITE_P(Launcher, LaunchFailure, testing::Bool(), launcherName);

}  // namespace
}  // namespace orvel
