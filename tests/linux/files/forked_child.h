#pragma once

#include <functional>
#include <optional>

namespace orvel::posix_test {

using Task = std::function<bool()>;

/// Runs a task in a forked child, which may change its own privileges and limits. Returns
/// the result, or nullopt when the child has not run the task to its end: it was killed or
/// called `giveUp`. Only for a process without other threads.
std::optional<bool> inChild(const Task &task);

/// Ends a child of `inChild` when the system does not permit what its task needs.
[[noreturn]] void giveUp();

/// How a child ended that was to be killed at a system call.
enum class ChildEnd {
  killed,
  /// The task returned true before it made that many system calls.
  succeeded,
  failed,
  /// This system does not permit ptrace.
  notTraceable,
};

/// Runs a task in a forked child and kills it (SIGKILL) on entry to its n-th system call,
/// counted from 1, before the call has an effect.
ChildEnd killAtSystemCall(int number, const Task &task);

// The following functions change the calling process for the rest of its life, so they are
// only for a child. They return false when the kernel does not permit the change.

/// Makes renameat2 fail with EINVAL for RENAME_EXCHANGE.
bool disableRenameExchange();
/// Makes renameat2 fail with EINVAL for RENAME_NOREPLACE.
bool disableRenameNoReplace();
/// Makes hard links fail with EPERM.
bool disableHardLinks();
/// Makes syncfs fail with EIO.
bool disableSync();
/// The user and group nobody.
inline constexpr unsigned ordinaryUser = 65534;
/// Becomes `ordinaryUser` when the process runs as root.
bool becomeOrdinaryUser();

}  // namespace orvel::posix_test
