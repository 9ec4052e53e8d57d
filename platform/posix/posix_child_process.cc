#include "platform/posix/posix_child_process.h"

#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

namespace orvel {

namespace {

/// Neither an exit code nor a signal: somebody else in the process has taken
/// the status of our child.
constexpr int unknownStatus = -1;

int terminationStatusOf(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

}  // namespace

bool PosixChildProcess::isRunning() const {
  const std::lock_guard lock(mutex_);
  return running_;
}

int PosixChildProcess::terminationStatus() const {
  const std::lock_guard lock(mutex_);
  return terminationStatus_;
}

void PosixChildProcess::terminate() { send(SIGTERM); }

void PosixChildProcess::kill() { send(SIGKILL); }

void PosixChildProcess::waitUntilExit() {
  std::unique_lock lock(mutex_);
  ended_.wait(lock, [this] { return !running_; });
}

void PosixChildProcess::awaitExit() {
  for (;;) {
    // Only looks: the number stays taken until it is reaped under the lock, so
    // that a signal can never reach a stranger.
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    if (reap()) return;
    // Woken for something else than an end: not worth a busy loop.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
}

bool PosixChildProcess::reap() {
  const std::lock_guard lock(mutex_);
  int status = 0;
  const pid_t reaped = ::waitpid(process_, &status, WNOHANG);
  if (reaped == 0) return false;
  running_ = false;
  terminationStatus_ = reaped == process_ ? terminationStatusOf(status) : unknownStatus;
  ended_.notify_all();
  return true;
}

void PosixChildProcess::send(int signal) {
  const std::lock_guard lock(mutex_);
  if (running_) ::kill(process_, signal);
}

}  // namespace orvel
