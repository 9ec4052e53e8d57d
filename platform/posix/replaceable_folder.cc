#include "platform/posix/replaceable_folder.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace orvel {

namespace {

/// Returns whether this process may create and remove entries of a folder. access(2) fails even for
/// root on a read-only file system (EROFS) and for an immutable folder (EPERM).
bool mayChange(const std::filesystem::path &folder) {
  return ::access(folder.c_str(), W_OK | X_OK) == 0;
}

}  // namespace

bool canReplaceFolder(const std::string &path) {
  std::error_code error;
  const std::filesystem::path folder = std::filesystem::canonical(path, error);
  return !error && std::filesystem::is_directory(folder, error) && mayChange(folder) &&
         mayChange(folder.parent_path());
}

}  // namespace orvel
