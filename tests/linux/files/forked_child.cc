#include "tests/linux/files/forked_child.h"

#include <grp.h>
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

namespace orvel::posix_test {

namespace {

constexpr int success = 0;
constexpr int failure = 1;
constexpr int gaveUp = 2;
// The stop signal at a system call with PTRACE_O_TRACESYSGOOD.
constexpr int systemCallStop = SIGTRAP | 0x80;

int waitFor(pid_t child) {
  int status = 0;
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

/// The type of the first parameter differs between C libraries.
template <typename Request>
bool request(Request what, pid_t child, long data = 0) {
  return ::ptrace(what, child, nullptr, data) == 0;
}

template <std::size_t size>
bool filterSystemCalls(std::array<sock_filter, size> program) {
  const sock_fprog filter{size, program.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

bool disableSystemCall(unsigned number, unsigned error) {
  return filterSystemCalls(std::array<sock_filter, 4>{{
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, number},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | error},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
  }});
}

bool disableRenameFlag(unsigned flag) {
  // BPF loads 32 bits: the lower half of the argument, which comes first (little endian).
  constexpr auto flags = offsetof(seccomp_data, args) + 4 * sizeof(std::uint64_t);
  return filterSystemCalls(std::array<sock_filter, 6>{{
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 3, SYS_renameat2},
      {BPF_LD | BPF_W | BPF_ABS, 0, 0, flags},
      {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, flag},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EINVAL},
      {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW},
  }});
}

/// Runs the task and exits in every case, so that the child does not run further tests.
[[noreturn]] void runAndEnd(const Task &task) {
  bool succeeded = false;
  try {
    succeeded = task();
  } catch (const std::exception &error) {
    // std::cerr is unbuffered.
    std::cerr << error.what() << '\n';
  }
  ::_exit(succeeded ? success : failure);
}

}  // namespace

std::optional<bool> inChild(const Task &task) {
  const pid_t child = ::fork();
  if (child < 0) return std::nullopt;
  if (child == 0) runAndEnd(task);
  const int status = waitFor(child);
  if (!WIFEXITED(status) || WEXITSTATUS(status) > failure) return std::nullopt;
  return WEXITSTATUS(status) == success;
}

void giveUp() { ::_exit(gaveUp); }

ChildEnd killAtSystemCall(int number, const Task &task) {
  const pid_t child = ::fork();
  if (child < 0) return ChildEnd::notTraceable;
  if (child == 0) {
    if (!request(PTRACE_TRACEME, 0)) giveUp();
    ::raise(SIGSTOP);
    runAndEnd(task);
  }
  int status = waitFor(child);
  if (WIFSTOPPED(status) &&
      !request(PTRACE_SETOPTIONS, child, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL)) {
    ::kill(child, SIGKILL);
    waitFor(child);
    return ChildEnd::notTraceable;
  }

  int entered = 0;
  bool inside = false;
  long signal = 0;
  while (WIFSTOPPED(status)) {
    request(PTRACE_SYSCALL, child, signal);
    status = waitFor(child);
    signal = 0;
    if (!WIFSTOPPED(status)) break;
    if (WSTOPSIG(status) != systemCallStop) {
      signal = WSTOPSIG(status);
      continue;
    }
    inside = !inside;
    if (inside && ++entered == number) ::kill(child, SIGKILL);
  }
  if (WIFSIGNALED(status)) return WTERMSIG(status) == SIGKILL ? ChildEnd::killed : ChildEnd::failed;
  if (WEXITSTATUS(status) == gaveUp) return ChildEnd::notTraceable;
  return WEXITSTATUS(status) == success ? ChildEnd::succeeded : ChildEnd::failed;
}

bool disableRenameExchange() { return disableRenameFlag(RENAME_EXCHANGE); }

bool disableRenameNoReplace() { return disableRenameFlag(RENAME_NOREPLACE); }

bool disableHardLinks() {
#ifdef SYS_link
  return disableSystemCall(SYS_link, EPERM);
#else
  return disableSystemCall(SYS_linkat, EPERM);
#endif
}

bool disableSync() { return disableSystemCall(SYS_syncfs, EIO); }

bool becomeOrdinaryUser() {
  if (::geteuid() != 0) return true;
  constexpr uid_t nobody = 65534;
  return ::setgroups(0, nullptr) == 0 && ::setresgid(nobody, nobody, nobody) == 0 &&
         ::setresuid(nobody, nobody, nobody) == 0;
}

}  // namespace orvel::posix_test
