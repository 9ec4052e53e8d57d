#include "platform/linux/user_locations.h"

#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvel {

std::string UserLocations::home() const {
  std::string path = g_get_home_dir();
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

bool UserLocations::isExecutableFile(const std::string &path) const {
  struct stat status;
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         ::access(path.c_str(), X_OK) == 0;
}

}  // namespace orvel
