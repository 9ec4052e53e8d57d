#include "platform/posix/posix_child_process.h"

#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <thread>

namespace orvel {

namespace {

/// Reported when other code in this process has already reaped the child.
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

void PosixChildProcess::waitAndReap() {
  for (;;) {
    // With WNOWAIT the child stays a zombie, so that its process ID is not reused before
    // reap() takes the lock. Otherwise send() could signal another process.
    siginfo_t info{};
    while (::waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOWAIT) != 0 &&
           errno == EINTR) {
    }
    if (reap()) return;
    // waitid has returned, but the child cannot be reaped yet, for example because a debugger
    // traces it. The sleep avoids a busy loop.
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
