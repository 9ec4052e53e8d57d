// Child processes of an application that is killed. On Linux, a child can get a signal when its
// parent dies (PR_SET_PDEATHSIG); macOS has no such signal.

#if defined(__linux__)

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

#include "tests/support/posix_test_support.h"

namespace orvel {
namespace {

using namespace posix_test;

bool isThreadOf(pid_t process, pid_t thread) {
  return std::filesystem::exists("/proc/" + std::to_string(process) + "/task/" +
                                 std::to_string(thread));
}

/// Tests with an application process, which is a child of the test and may have a child of its
/// own. When the application ends, the test becomes the parent of that orphaned child
/// (PR_SET_CHILD_SUBREAPER).
class ParentEnd : public testing::Test {
 public:
  ParentEnd() { ::prctl(PR_SET_CHILD_SUBREAPER, 1); }
  ~ParentEnd() override {
    for (const pid_t process : {application, child}) {
      if (process > 0) ::kill(process, SIGKILL);
    }
    while (::waitpid(-1, nullptr, __WALL) > 0 || errno == EINTR) {
    }
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
  }

 protected:
  /// Forks an application that runs a task and then waits to be killed.
  template <typename Task>
  void startApplication(const Task &task) {
    application = ::fork();
    ASSERT_GE(application, 0);
    if (application != 0) return;
    task();
    for (;;) ::pause();
  }

  /// Starts an application that launches the request, and reads the child's process ID
  /// from the first line of its output.
  void startApplicationWithChild(LaunchRequest request) {
    auto pipe = Pipe::create();
    ASSERT_TRUE(pipe);
    request.standardOutput = {StandardStream::Kind::handle, pipe->writing};
    startApplication([&] {
      PosixProcessLauncher launcher(processEnvironment());
      // The end of the thread that called launch must not trigger the parent-death signal.
      std::thread([&] { launcher.launch(request); }).join();
      request.standardOutput = {};
      pipe.reset();
    });
    request.standardOutput = {};
    pipe->writing.reset();
    const std::string line = readLine(*pipe->reading);
    ASSERT_NE(line, "");
    child = std::stoi(line);
  }

  /// Calls waitpid again whenever a signal has interrupted it (EINTR). Also waits for threads that
  /// this process traces (__WALL). Clears `application` when that process has been reaped.
  pid_t waitpidUninterrupted(pid_t process, int &status) {
    pid_t found = 0;
    while ((found = ::waitpid(process, &status, __WALL)) < 0 && errno == EINTR) {
    }
    if (found == application && !WIFSTOPPED(status)) application = 0;
    return found;
  }

  /// Continues the traced, stopped application until it has forked a child. ptrace stops a new
  /// thread or child before its first instruction. Returns the child's process ID, or zero when
  /// ptrace is not permitted.
  pid_t continueUntilChildIsForked() {
    int status = 0;
    waitpidUninterrupted(application, status);
    const long options = PTRACE_O_TRACECLONE | PTRACE_O_TRACEFORK | PTRACE_O_TRACEVFORK;
    // Also fails when the application has exited.
    if (::ptrace(PTRACE_SETOPTIONS, application, nullptr, options) != 0) return 0;
    ::ptrace(PTRACE_CONT, application, nullptr, 0);
    for (;;) {
      const pid_t stopped = waitpidUninterrupted(-1, status);
      if (stopped <= 0) return 0;
      if (!WIFSTOPPED(status)) continue;
      if (!isThreadOf(application, stopped)) return stopped;
      // The encoding of a ptrace event in a wait status (ptrace(2), PTRACE_O_TRACEFORK).
      const int event = status >> 16;
      const bool hasForked = event == PTRACE_EVENT_FORK || event == PTRACE_EVENT_VFORK;
      // The thread that has forked stays stopped until the application is killed.
      if (!hasForked) ::ptrace(PTRACE_CONT, stopped, nullptr, 0);
    }
  }

  /// Waits for the end of the child, which must be an orphan, and returns its wait status.
  int waitForChild() {
    int status = 0;
    const bool hasEnded = eventually([&] { return ::waitpid(child, &status, WNOHANG) == child; });
    EXPECT_TRUE(hasEnded);
    if (hasEnded) child = 0;
    return status;
  }

  void killApplication() {
    ::kill(application, SIGKILL);
    int status = 0;
    waitpidUninterrupted(application, status);
    ASSERT_EQ(application, 0);
  }

  pid_t application = 0;
  pid_t child = 0;
};

TEST_F(ParentEnd, OnlyChildWithEndsWithParentGetsSigtermWhenParentIsKilled) {
  auto request = program("/bin/sh", {"-c", "echo $$; exec sleep 600"});
  for (const bool endsWithParent : {true, false}) {
    request.endsWithParent = endsWithParent;
    ASSERT_NO_FATAL_FAILURE(startApplicationWithChild(request));
    ASSERT_NO_FATAL_FAILURE(killApplication());
    // A parent-death signal would have been delivered before SIGUSR1.
    if (!endsWithParent) ::kill(child, SIGUSR1);
    const int status = waitForChild();
    EXPECT_TRUE(WIFSIGNALED(status)) << "endsWithParent: " << endsWithParent;
    EXPECT_EQ(WTERMSIG(status), endsWithParent ? SIGTERM : SIGUSR1);
  }
}

TEST_F(ParentEnd, ChildWithEndsWithParentOutlivesLaunchingThread) {
  PosixProcessLauncher launcher(processEnvironment());
  auto request = program("/bin/sleep", {"600"});
  request.endsWithParent = true;
  LaunchResult launched;
  pid_t thread = 0;
  std::thread([&] {
    thread = ::gettid();
    launched = launcher.launch(request);
  }).join();
  ASSERT_TRUE(launched.process);
  // The kernel may remove the thread only after the join. If the child had been forked on this
  // thread, it would get the parent-death signal (SIGTERM) then.
  const auto entry = std::filesystem::path("/proc/self/task") / std::to_string(thread);
  ASSERT_TRUE(eventually([&] { return !std::filesystem::exists(entry); }));
  launched.process->kill();
  launched.process->waitUntilExit();
  EXPECT_EQ(launched.process->terminationStatus(), SIGKILL);
}

TEST_F(ParentEnd, ChildOfParentKilledAfterForkRunsNoProgram) {
  const TemporaryFolder folder;
  const auto marker = folder.path() / "ran";
  auto request = program("/usr/bin/touch", {marker});
  request.endsWithParent = true;
  ASSERT_NO_FATAL_FAILURE(startApplication([&] {
    if (::ptrace(PTRACE_TRACEME, 0, nullptr, 0) != 0) ::_exit(1);
    ::raise(SIGSTOP);
    PosixProcessLauncher(processEnvironment()).launch(request);
  }));
  child = continueUntilChildIsForked();
  if (child == 0) GTEST_SKIP() << "ptrace is not permitted";
  ::kill(application, SIGKILL);
  // The application can be reaped only after the test, which traces it, has waited for all threads
  // of the application.
  int status = 0;
  while (application != 0) waitpidUninterrupted(-1, status);
  ASSERT_EQ(::ptrace(PTRACE_DETACH, child, nullptr, 0), 0);
  // The child exits by itself: after it asks for the parent-death signal, it finds that its parent
  // is dead.
  EXPECT_TRUE(WIFEXITED(waitForChild()));
  EXPECT_FALSE(std::filesystem::exists(marker));
}

}  // namespace
}  // namespace orvel

#endif
