#include "base/file_move.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <mutex>

namespace orvel {

namespace {

/// Returns whether an errno value of renameat2(2) or link(2) means that the file system does
/// not support the operation.
bool isUnsupported(int error) {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EPERM;
}

/// Returns zero, or -1 and sets errno.
int moveWithoutReplacing(const std::string &from, const std::string &to) {
  struct stat status;
  if (::stat(from.c_str(), &status) != 0) return -1;
  // An unnamed file (O_TMPFILE) is linked through its /proc/PID/fd link (open(2)).
  if (status.st_nlink == 0) {
    return ::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW);
  }
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  // Network file systems do not support RENAME_NOREPLACE.
  if (!isUnsupported(errno)) return -1;
  if (::link(from.c_str(), to.c_str()) == 0) {
    ::unlink(from.c_str());
    return 0;
  }
  // Some file systems do not support hard links either. The mutex prevents a race between two
  // downloads of this process, but not with another program.
  if (!isUnsupported(errno)) return -1;
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
  if (::lstat(to.c_str(), &status) == 0) {
    errno = EEXIST;
    return -1;
  }
  return ::rename(from.c_str(), to.c_str());
}

}  // namespace

MoveResult moveFile(const std::string &from, const std::string &to) {
  if (moveWithoutReplacing(from, to) == 0) return MoveResult::moved;
  return errno == EEXIST ? MoveResult::destinationExists : MoveResult::failed;
}

}  // namespace orvel
