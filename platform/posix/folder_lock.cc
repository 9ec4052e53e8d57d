#include "base/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <thread>

namespace orvel {

namespace {

constexpr std::chrono::milliseconds pause{20};

bool remainsLocked(int folder, std::chrono::milliseconds patience) {
  const auto end = std::chrono::steady_clock::now() + patience;
  while (::flock(folder, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK) return false;
    if (std::chrono::steady_clock::now() >= end) return true;
    std::this_thread::sleep_for(pause);
  }
  return false;
}

}  // namespace

FolderLock::FolderLock(const std::string &folder, std::chrono::milliseconds patience)
    : folder_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
      isHeldElsewhere_(remainsLocked(folder_.descriptor(), patience)) {}

}  // namespace orvel
