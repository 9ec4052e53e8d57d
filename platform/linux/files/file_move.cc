#include "base/file_move.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <mutex>

namespace orvel {

namespace {

/// Whether a call failed because the file system does not have it.
bool isUnknown(int error) {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP || error == EPERM;
}

int giveName(const std::string &from, const std::string &to) {
  struct stat status;
  if (::stat(from.c_str(), &status) != 0) return -1;
  // A file that has no name yet is reached through the link of its descriptor.
  if (status.st_nlink == 0) {
    return ::linkat(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), AT_SYMLINK_FOLLOW);
  }
  if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  // Network file systems know no such renaming.
  if (!isUnknown(errno)) return -1;
  if (::link(from.c_str(), to.c_str()) == 0) {
    ::unlink(from.c_str());
    return 0;
  }
  // Some know no second name either. Between the look and the renaming another
  // program could still take the name, but no two downloads of ours do.
  if (!isUnknown(errno)) return -1;
  static std::mutex oneAtATime;
  const std::lock_guard lock(oneAtATime);
  if (::lstat(to.c_str(), &status) == 0) {
    errno = EEXIST;
    return -1;
  }
  return ::rename(from.c_str(), to.c_str());
}

}  // namespace

MoveResult moveFile(const std::string &from, const std::string &to) {
  if (giveName(from, to) == 0) return MoveResult::moved;
  return errno == EEXIST ? MoveResult::destinationExists : MoveResult::failed;
}

}  // namespace orvel
