#pragma once

#include <optional>
#include <string>

namespace orvel {

/// Returns the folder for unpacking a release of this version. Returns nullopt when the
/// version contains NUL or ".." as a path component, which would leave the temporary folder.
/// Any thread.
std::optional<std::string> workingFolder(const std::string &temporary, const std::string &versie);

}  // namespace orvel
