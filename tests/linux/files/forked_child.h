#pragma once

#include <functional>
#include <optional>

namespace orvel::posix_test {

using Task = std::function<bool()>;

/// Runs a task in a forked child, which may change its own privileges and limits. Returns the
/// result of the task, false when the task throws, or nullopt when the child was killed or called
/// `exitWithoutResult`. Only for a process without other threads.
std::optional<bool> runInChild(const Task &task);

/// Ends a child of `runInChild` without a result. For a task that needs what the system does not
/// permit.
[[noreturn]] void exitWithoutResult();

/// Runs a task in a series of forked children. Kills the first child on entry to its first system
/// call, before the call has an effect, the second child on entry to its second system call, and so
/// on. Stops when a child ends before its kill or an expectation fails. Expects that the task of
/// the child that was not killed returns true. Runs `prepare` before and `check` after each child.
/// Returns false when the system does not permit ptrace.
bool killAtEverySystemCall(const std::function<void()> &prepare, const Task &task,
                           const std::function<void()> &check);

// The following functions change the calling process for the rest of its life, so they are
// only for a child. They return false when the kernel does not permit the change.

/// Makes renameat2 fail with EINVAL for RENAME_EXCHANGE.
bool disableRenameExchange();
/// Makes renameat2 fail with EINVAL for RENAME_NOREPLACE.
bool disableRenameNoReplace();
/// Makes link(2) fail with EPERM.
bool disableHardLinks();
/// Makes syncfs fail with EIO.
bool disableSync();
/// The user and group nobody.
inline constexpr unsigned ordinaryUser = 65534;
/// Becomes `ordinaryUser` when the process runs as root.
bool becomeOrdinaryUser();

}  // namespace orvel::posix_test
