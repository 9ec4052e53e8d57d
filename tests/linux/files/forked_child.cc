#include "tests/linux/files/forked_child.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <iostream>
#include <optional>
#include <string>

namespace orvel::posix_test {

namespace {

// The exit statuses of a child.
constexpr int success = 0;
constexpr int failure = 1;
constexpr int noResult = 2;
// The signal of a stop on entry to or exit from a system call (PTRACE_O_TRACESYSGOOD).
constexpr int systemCallStop = SIGTRAP | 0x80;

/// Waits until a child stops or ends, and returns its wait status.
int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

/// Calls ptrace. A template, because the type of a request differs between C libraries.
template <typename Request>
bool trace(Request request, pid_t child, long data = 0) {
  return ::ptrace(request, child, nullptr, data) == 0;
}

/// Makes a system call of this process fail with an errno value, by a seccomp filter. If a flag is
/// given, only calls with exactly this flag as their fifth argument (the flags of renameat2) fail.
bool disableSystemCall(unsigned number, unsigned error, std::optional<unsigned> flag = {}) {
  // BPF loads 32 bits: the lower half of the argument, which comes first (little endian).
  constexpr auto fifthArgument = offsetof(seccomp_data, args) + 4 * sizeof(std::uint64_t);
  // Without a flag, the comparison ">= 0" matches every argument.
  const std::uint16_t comparison = flag ? BPF_JEQ : BPF_JGE;
  std::array<sock_filter, 6> program{{
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 3, number},
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, fifthArgument},
      {static_cast<std::uint16_t>(BPF_JMP | comparison | BPF_K), 0, 1, flag.value_or(0)},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | error},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
  }};
  const sock_fprog filter{program.size(), program.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

/// Runs the task and always exits, so that the child does not run further tests.
[[noreturn]] void runAndExit(const Task &task) {
  bool succeeded = false;
  try {
    succeeded = task();
  } catch (const std::exception &error) {
    // _exit() flushes no buffer, but std::cerr has none.
    std::cerr << error.what() << '\n';
  }
  ::_exit(succeeded ? success : failure);
}

/// Runs a task in a forked child and kills it on entry to its n-th system call, counted from 1.
/// Returns its wait status, or nullopt when the system does not permit ptrace.
std::optional<int> killAtSystemCall(int number, const Task &task) {
  const pid_t child = ::fork();
  if (child < 0) return std::nullopt;
  if (child == 0) {
    if (!trace(PTRACE_TRACEME, 0)) exitWithoutResult();
    ::raise(SIGSTOP);  // Until the parent has set the options of ptrace.
    runAndExit(task);
  }
  if (!WIFSTOPPED(waitFor(child))) return std::nullopt;
  if (!trace(PTRACE_SETOPTIONS, child, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL)) {
    ::kill(child, SIGKILL);
    waitFor(child);
    return std::nullopt;
  }
  trace(PTRACE_SYSCALL, child);
  int status = waitFor(child);
  int systemCallStops = 0;
  while (WIFSTOPPED(status)) {
    const bool isSystemCallStop = WSTOPSIG(status) == systemCallStop;
    // A system call stops the child twice, on entry and on exit.
    if (isSystemCallStop && ++systemCallStops == 2 * number - 1) ::kill(child, SIGKILL);
    // Delivers any other signal to the child.
    trace(PTRACE_SYSCALL, child, isSystemCallStop ? 0 : WSTOPSIG(status));
    status = waitFor(child);
  }
  return status;
}

}  // namespace

std::optional<bool> runInChild(const Task &task) {
  const pid_t child = ::fork();
  if (child < 0) return std::nullopt;
  if (child == 0) runAndExit(task);
  const int status = waitFor(child);
  if (!WIFEXITED(status) || WEXITSTATUS(status) > failure) return std::nullopt;
  return WEXITSTATUS(status) == success;
}

void exitWithoutResult() { ::_exit(noResult); }

bool killAtEverySystemCall(const std::function<void()> &prepare, const Task &task,
                           const std::function<void()> &check) {
  bool wasKilled = true;
  for (int number = 1; wasKilled && !testing::Test::HasFailure(); ++number) {
    SCOPED_TRACE("system call " + std::to_string(number));
    prepare();
    const auto status = killAtSystemCall(number, task);
    if (!status) return false;
    check();
    wasKilled = WIFSIGNALED(*status) && WTERMSIG(*status) == SIGKILL;
    EXPECT_TRUE(wasKilled || (WIFEXITED(*status) && WEXITSTATUS(*status) == success))
        << "the task failed with wait status " << *status;
  }
  return true;
}

bool disableRenameExchange() { return disableSystemCall(SYS_renameat2, EINVAL, RENAME_EXCHANGE); }

bool disableRenameNoReplace() { return disableSystemCall(SYS_renameat2, EINVAL, RENAME_NOREPLACE); }

bool disableHardLinks() {
  // New architectures have only the system call linkat. On the others link(2) uses SYS_link.
#ifdef SYS_link
  return disableSystemCall(SYS_link, EPERM);
#else
  return disableSystemCall(SYS_linkat, EPERM);
#endif
}

bool disableSync() { return disableSystemCall(SYS_syncfs, EIO); }

bool becomeOrdinaryUser() {
  if (::geteuid() != 0) return true;
  return ::setgroups(0, nullptr) == 0 &&
         ::setresgid(ordinaryUser, ordinaryUser, ordinaryUser) == 0 &&
         ::setresuid(ordinaryUser, ordinaryUser, ordinaryUser) == 0;
}

}  // namespace orvel::posix_test
