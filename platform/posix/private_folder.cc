#include "base/private_folder.h"

#include <sys/stat.h>

#include <cerrno>
#include <system_error>

namespace orvel {

bool createPrivateFolder(const std::filesystem::path &path) {
  int result = ::mkdir(path.c_str(), S_IRWXU);
  if (result != 0 && errno == ENOENT && path.has_parent_path()) {
    createPrivateFolder(path.parent_path());
    result = ::mkdir(path.c_str(), S_IRWXU);
  }
  if (result != 0) return false;
  // The umask may have removed permissions of the user.
  ::chmod(path.c_str(), S_IRWXU);
  return true;
}

void ensurePrivateFolder(const std::filesystem::path &path) {
  std::error_code ignored;
  if (createPrivateFolder(path) || !std::filesystem::is_directory(path, ignored)) return;
  ::chmod(path.c_str(), S_IRWXU);
}

}  // namespace orvel
