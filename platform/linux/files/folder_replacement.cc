#include "platform/linux/files/folder_replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "base/file_handle.h"
#include "base/folder_lock.h"
#include "base/private_folder.h"
#include "base/real_folder.h"

namespace orvel {

namespace {

namespace fs = std::filesystem;

/// Limits the wait for another replacement in the same parent folder.
constexpr std::chrono::seconds lockTimeout{20};

// Extensions (Dutch for "old" and "new") of hidden folders next to the original: the old folder
// between two renames, and the copy of a replacement from another file system.
constexpr const char *oldExtension = ".oud";
constexpr const char *copyExtension = ".nieuw";

/// Removes a file or folder. Ignores errors.
void discard(const fs::path &path) {
  std::error_code ignored;
  fs::remove_all(path, ignored);
}

/// Returns whether two paths are on the same device. A file system that does not support
/// RENAME_EXCHANGE reports EINVAL even for two devices (not EXDEV), so the devices are compared
/// first.
bool onOneDevice(const fs::path &one, const fs::path &other) {
  struct stat first{};
  struct stat second{};
  return ::lstat(one.c_str(), &first) == 0 && ::lstat(other.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev;
}

/// Flushes the file system of a folder, so that the folder is complete after a power failure.
/// Returns false after a disk error.
bool flushFileSystem(const fs::path &folder) {
  const FileHandle handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return ::syncfs(handle.descriptor()) == 0;
}

/// Flushes the replacement to the disk, then exchanges the two folders. Returns zero, or an errno
/// value.
int exchangeFolders(const fs::path &original, const fs::path &replacement) {
  if (!flushFileSystem(replacement)) return EIO;
  const int result =
      ::renameat2(AT_FDCWD, original.c_str(), AT_FDCWD, replacement.c_str(), RENAME_EXCHANGE);
  return result == 0 ? 0 : errno;
}

/// Returns whether the kernel or the file system lacks RENAME_EXCHANGE (renameat2(2)).
bool isExchangeUnsupported(int error) {
  return error == EINVAL || error == ENOSYS || error == EOPNOTSUPP;
}

/// Returns the path of a hidden entry next to a path, so that both are on the same file system.
fs::path hiddenSibling(const fs::path &path, const std::string &extension) {
  return path.parent_path() / ("." + path.filename().string() + extension);
}

/// Copies a folder to a path that does not exist, with its permissions regardless of the
/// umask. Returns false when a part of it cannot be copied.
bool copyFolder(const fs::path &from, const fs::path &to) {
  // Other users must not change the copy, which becomes the application.
  if (!createPrivateFolder(to)) return false;
  std::error_code error;
  for (fs::directory_iterator entry(from, error); !error && entry != fs::directory_iterator();
       entry.increment(error)) {
    const fs::path copy = to / entry->path().filename();
    if (isRealFolder(entry->path())) {
      if (!copyFolder(entry->path(), copy)) return false;
    } else {
      fs::copy(entry->path(), copy, fs::copy_options::copy_symlinks, error);
      if (error) return false;
    }
  }
  if (error) return false;
  // The permissions are set last, because they may make the folder read-only.
  fs::permissions(to, fs::status(from, error).permissions(), error);
  return !error;
}

/// Replaces a folder by two renames. Undoes the first one when the second one fails.
bool replaceByTwoRenames(const fs::path &original, const fs::path &replacement) {
  const fs::path aside = hiddenSibling(original, oldExtension);
  std::error_code error;
  fs::rename(original, aside, error);
  if (error) return false;
  fs::rename(replacement, original, error);
  if (error) {
    fs::rename(aside, original, error);
    return false;
  }
  discard(aside);
  return true;
}

/// Completes a replacement after exchangeFolders, whose result is `exchangeError`. Removes the
/// old folder, which a successful exchange has put at the path of the replacement. Uses two
/// renames if the exchange is not supported.
bool finishReplacement(const fs::path &original, const fs::path &replacement, int exchangeError) {
  if (exchangeError == 0) {
    discard(replacement);
    return true;
  }
  return isExchangeUnsupported(exchangeError) && replaceByTwoRenames(original, replacement);
}

}  // namespace

bool replaceFolder(const std::string &original, const std::string &replacement) {
  // A relative path without a folder has an empty parent; with "." it is the current folder.
  const FolderLock lock((fs::path(original).parent_path() / ".").string(), lockTimeout);
  if (lock.isHeldElsewhere()) return false;
  if (!isRealFolder(original) || !isRealFolder(replacement)) return false;
  // A folder that is exchanged with itself would be removed as the old one.
  std::error_code failure;
  if (fs::equivalent(original, replacement, failure) || failure) return false;
  // A process that was killed during an earlier replacement may have left these two folders.
  const fs::path copy = hiddenSibling(original, copyExtension);
  discard(copy);
  discard(hiddenSibling(original, oldExtension));

  const int error =
      onOneDevice(original, replacement) ? exchangeFolders(original, replacement) : EXDEV;
  if (error != EXDEV) return finishReplacement(original, replacement, error);
  const bool replaced = copyFolder(replacement, copy) &&
                        finishReplacement(original, copy, exchangeFolders(original, copy));
  discard(replaced ? fs::path(replacement) : copy);
  return replaced;
}

}  // namespace orvel
