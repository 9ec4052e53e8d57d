#pragma once

#include <filesystem>

namespace orvel {

/// Creates a folder and its missing parents, all with mode 0700 whatever the umask. Returns
/// false when the folder was not created. Does not change an existing one. Any thread.
bool createPrivateFolder(const std::filesystem::path &path);

/// Creates a folder like createPrivateFolder, or changes the mode of an existing one to 0700.
/// Ignores errors. Any thread.
void ensurePrivateFolder(const std::filesystem::path &path);

}  // namespace orvel
