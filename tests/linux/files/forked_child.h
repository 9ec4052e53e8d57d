#pragma once

#include <functional>
#include <optional>

namespace orvel::posix_test {

using Task = std::function<bool()>;

/// Runs a task in a child process of its own, whose rights and limits it may
/// change. What it gave, or nothing when the child did not end by itself. For a
/// process without other threads.
std::optional<bool> inChild(const Task &task);

/// How a child ended that was to be killed at a system call.
enum class ChildEnd {
  killed,
  /// It made fewer system calls.
  succeeded,
  failed,
  /// This system does not let us follow our own child.
  notFollowed,
};

/// Runs a task in a child process and kills it (SIGKILL) as it enters its
/// system call of the given number, counted from 1, before the call does
/// anything.
ChildEnd killAtSystemCall(int number, const Task &task);

/// Makes this process, for the rest of its life, see file systems that cannot
/// exchange two names at once. False when the kernel does not allow that. For a
/// child.
bool loseExchange();

/// Likewise, file systems that cannot keep a renaming from replacing a file.
bool loseRenamingWithoutReplacing();

/// Likewise, file systems that know no hard links.
bool loseLinks();

/// Likewise, a disk that what was written does not reach.
bool loseSync();

/// Gives up what a superuser may do, for the rest of this process's life. False
/// when that cannot be done. For a child.
bool becomeOrdinaryUser();

}  // namespace orvel::posix_test
