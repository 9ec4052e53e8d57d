#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace orvel {

/// Returns the folder for unpacking a release of this version. Returns nullopt when the
/// version contains NUL, or the path component "..", which would lead out of the temporary
/// folder. Any thread.
std::optional<std::string> workingFolder(const std::string &temporary, const std::string &versie);

/// Removes the folder that an earlier installation of the same version left, and creates an empty
/// one. Returns false when old contents could not be removed. Also returns false when the folder
/// or one of its parents below the temporary folder is not a real folder, because a symbolic link
/// could lead to any of the user's folders. The caller holds the lock of the temporary folder. Any
/// thread; blocks on the disk.
bool createWorkingFolder(const std::filesystem::path &temporary,
                         const std::filesystem::path &folder);

/// Removes the working folders of all versions. The caller holds the lock of the temporary
/// folder. Any thread; blocks on the disk.
void removeWorkingFolders(const std::filesystem::path &temporary);

}  // namespace orvel
