#include "base/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <thread>

namespace orvel {

namespace {

constexpr std::chrono::milliseconds retryInterval{20};

/// Locks a folder by its descriptor, which may be invalid. Returns whether the timeout passed while
/// another holder kept the lock.
bool lockTimesOut(int descriptor, std::chrono::milliseconds timeout) {
  const auto end = std::chrono::steady_clock::now() + timeout;
  while (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    // Such as EBADF: a folder that cannot be opened counts as unlocked.
    if (errno != EWOULDBLOCK) return false;
    if (std::chrono::steady_clock::now() >= end) return true;
    std::this_thread::sleep_for(retryInterval);
  }
  return false;
}

}  // namespace

FolderLock::FolderLock(const std::string &folder, std::chrono::milliseconds timeout)
    : folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      isHeldElsewhere_(lockTimesOut(folder_.descriptor(), timeout)) {}

}  // namespace orvel
