#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/platform_names.h"

namespace orvel {

/// Returns the folder for unpacking a release of this version. Returns nullopt when the
/// version contains NUL or ".." as a path component, which would leave the temporary folder.
/// Any thread.
std::optional<std::string> workingFolder(const std::string &temporary, const std::string &versie);

/// Returns whether a bundle runs from a read-only copy (PlatformNames::translocationFolder).
/// Such a copy cannot be replaced. Any thread.
bool isTranslocated(std::string_view bundlePath, const PlatformNames &names);

}  // namespace orvel
