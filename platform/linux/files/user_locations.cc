#include "platform/linux/files/user_locations.h"

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/private_folder.h"
#include "platform/linux/files/folder_replacement.h"
#include "platform/posix/replaceable_folder.h"

namespace orvel {

std::string UserLocations::home() const {
  std::string path = g_get_home_dir();
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

std::string UserLocations::downloads() const {
  const char *folder = g_get_user_special_dir(G_USER_DIRECTORY_DOWNLOAD);
  return folder != nullptr ? folder : home() + "/Downloads";
}

std::string UserLocations::temporary() const {
  ensurePrivateFolder(temporaryFolder_);
  return temporaryFolder_;
}

bool UserLocations::replaceItem(const std::string &original, const std::string &replacement) const {
  return replaceFolder(original, replacement);
}

bool UserLocations::canReplaceItem(const std::string &original) const {
  return canReplaceFolder(original);
}

bool UserLocations::isExecutableFile(const std::string &path) const {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

}  // namespace orvel
