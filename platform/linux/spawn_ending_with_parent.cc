// Forks, because posix_spawn has no attribute for the parent-death signal.

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <memory>

#include "platform/posix/spawn.h"

namespace orvel {

namespace {

/// The child's descriptor of the error pipe, to which the child writes the errno value of a failed
/// start. It is closed on exec: end of file without data tells the parent that the program runs.
constexpr int errorDescriptor = STDERR_FILENO + 1;

/// Blocks all signals in this thread until it is destroyed, so that no signal handler of the
/// application runs in the child.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t all;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  BlockedSignals(const BlockedSignals &) = delete;
  BlockedSignals &operator=(const BlockedSignals &) = delete;

 private:
  sigset_t before_;
};

// Until exec the child makes only async-signal-safe calls: locks that other threads held
// at the fork are never released in the child.

/// Gives every signal its default disposition, and unblocks all signals.
void resetSignals() {
  struct sigaction defaultAction{};
  defaultAction.sa_handler = SIG_DFL;
  // sigaction(2) fails for SIGKILL, SIGSTOP and the signals that the C library reserves.
  for (int signal = 1; signal <= SIGRTMAX; ++signal) ::sigaction(signal, &defaultAction, nullptr);
  sigset_t none;
  sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

/// Makes a source the standard stream with this descriptor. Returns false and sets errno on
/// failure.
bool setStream(int source, int stream) {
  if (source == stream) return true;
  if (source != SpawnPlan::nullDevice) return ::dup2(source, stream) == stream;
  // open(2) returns the lowest free descriptor. After the close that is `stream`, because the
  // streams with lower numbers are open.
  ::close(stream);
  return ::open("/dev/null", stream == STDIN_FILENO ? O_RDONLY : O_WRONLY) == stream;
}

/// Sets the three standard streams. No call overwrites the source of a later one, because
/// SpawnPlan duplicates such a source above STDERR_FILENO.
bool setStreams(const SpawnPlan &plan) {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (!setStream(plan.streams()[static_cast<std::size_t>(stream)], stream)) return false;
  }
  return true;
}

/// Runs the program of the plan in the child. Writes the errno value to the error pipe when
/// that fails.
[[noreturn]] void runChild(const SpawnPlan &plan, pid_t parent, int errorPipe) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  // The kernel sends no signal for a parent that died before that call.
  if (::getppid() != parent) ::_exit(EXIT_FAILURE);
  resetSignals();
  const char *folder = plan.workingDirectory().c_str();
  if (setStreams(plan) && ::dup3(errorPipe, errorDescriptor, O_CLOEXEC) >= 0) {
    errorPipe = errorDescriptor;
    ::closefrom(errorDescriptor + 1);
    if (*folder == '\0' || ::chdir(folder) == 0) {
      ::execve(plan.executable(), plan.arguments(), plan.environment());
    }
  }
  const int error = errno;
  [[maybe_unused]] const ssize_t written = ::write(errorPipe, &error, sizeof error);
  ::_exit(EXIT_FAILURE);
}

/// Waits until the child's program runs or fails to start. Returns zero, or the errno value
/// that the child has written to the error pipe.
int waitForExec(int errorPipe) {
  int error = 0;
  ssize_t count = 0;
  while ((count = ::read(errorPipe, &error, sizeof error)) < 0 && errno == EINTR) {
  }
  return count == sizeof error ? error : 0;
}

void reap(pid_t child) {
  while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace

int spawnEndingWithParent(const SpawnPlan &plan, pid_t &child) {
  auto pipe = Pipe::create();
  if (!pipe) return errno;
  // Above errorDescriptor, so that no dup2 in the child overwrites it.
  auto writing = std::make_unique<FileHandle>(
      ::fcntl(pipe->writing->descriptor(), F_DUPFD_CLOEXEC, errorDescriptor + 1));
  if (writing->descriptor() < 0) return errno;
  pipe->writing.reset();

  const pid_t parent = ::getpid();
  pid_t started = 0;
  int error = 0;
  {
    const BlockedSignals blocked;
    started = ::fork();
    if (started == 0) runChild(plan, parent, writing->descriptor());
    if (started < 0) error = errno;
  }
  if (started < 0) return error;
  // The read reaches the end of file only after this process has closed its writing end too.
  writing.reset();
  error = waitForExec(pipe->reading->descriptor());
  if (error != 0) {
    reap(started);
    return error;
  }
  child = started;
  return 0;
}

}  // namespace orvel
