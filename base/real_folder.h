#pragma once

#include <filesystem>
#include <system_error>

namespace orvel {

/// Whether a folder lies at the path, and not a link to one, which could lead to
/// anything. Any thread.
inline bool isRealFolder(const std::filesystem::path &path) {
  std::error_code ignored;
  return std::filesystem::is_directory(std::filesystem::symlink_status(path, ignored));
}

}  // namespace orvel
