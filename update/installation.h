#pragma once

#include <optional>
#include <string>

namespace orvel {

/// Where a release is unpacked: a folder of its own for each version. Nothing
/// for a version by whose text the folder would lie elsewhere.
std::optional<std::string> workingFolder(const std::string &temporary, const std::string &versie);

}  // namespace orvel
