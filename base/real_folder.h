#pragma once

#include <filesystem>
#include <system_error>

namespace orvel {

/// Returns whether the path is a folder and not a symbolic link, which could point to any
/// folder. Any thread.
inline bool isRealFolder(const std::filesystem::path &path) {
  std::error_code ignored;
  return std::filesystem::is_directory(std::filesystem::symlink_status(path, ignored));
}

}  // namespace orvel
