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

/// The child's descriptor of the error pipe. It is closed on exec: end of file
/// without data tells the parent that the program runs.
constexpr int errorDescriptor = STDERR_FILENO + 1;

/// Blocks all signals of this thread during its lifetime, so that no signal handler of the
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

void restoreSignals() {
  struct sigaction defaultAction{};
  defaultAction.sa_handler = SIG_DFL;
  // Fails for SIGKILL, SIGSTOP and the signals that the C library reserves.
  for (int signal = 1; signal <= SIGRTMAX; ++signal) ::sigaction(signal, &defaultAction, nullptr);
  sigset_t none;
  sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
}

bool placeStream(int source, int number) {
  if (source == number) return true;
  if (source != SpawnPlan::nullDevice) return ::dup2(source, number) == number;
  // Closed first, because all other descriptors may be in use.
  ::close(number);
  return ::open("/dev/null", number == STDIN_FILENO ? O_RDONLY : O_WRONLY) == number;
}

bool placeStreams(const SpawnPlan &plan) {
  for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (!placeStream(plan.streams()[static_cast<std::size_t>(number)], number)) return false;
  }
  return true;
}

[[noreturn]] void runChild(const SpawnPlan &plan, pid_t parent, int errors) {
  ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  // The kernel sends no signal for a parent that died before that call.
  if (::getppid() != parent) ::_exit(EXIT_FAILURE);
  restoreSignals();
  const char *folder = plan.workingDirectory().c_str();
  if (placeStreams(plan) && ::dup3(errors, errorDescriptor, O_CLOEXEC) >= 0) {
    errors = errorDescriptor;
    ::closefrom(errorDescriptor + 1);
    if (*folder == '\0' || ::chdir(folder) == 0) {
      ::execve(plan.executable(), plan.arguments(), plan.environment());
    }
  }
  const int error = errno;
  [[maybe_unused]] const ssize_t written = ::write(errors, &error, sizeof error);
  ::_exit(EXIT_FAILURE);
}

/// Returns the errno value that the child reports, or zero when its program runs.
int reportedError(int reading) {
  int error = 0;
  ssize_t count = 0;
  while ((count = ::read(reading, &error, sizeof error)) < 0 && errno == EINTR) {
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
  auto errors = std::make_unique<FileHandle>(
      ::fcntl(pipe->writing->descriptor(), F_DUPFD_CLOEXEC, errorDescriptor + 1));
  if (errors->descriptor() < 0) return errno;
  pipe->writing.reset();

  const pid_t parent = ::getpid();
  pid_t started = 0;
  int error = 0;
  {
    const BlockedSignals blocked;
    started = ::fork();
    if (started == 0) runChild(plan, parent, errors->descriptor());
    if (started < 0) error = errno;
  }
  if (started < 0) return error;
  errors.reset();
  error = reportedError(pipe->reading->descriptor());
  if (error != 0) {
    reap(started);
    return error;
  }
  child = started;
  return 0;
}

}  // namespace orvel
