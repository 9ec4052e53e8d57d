#pragma once

#include <optional>
#include <string>

namespace orvel {

/// Returns the folder into which a release is unpacked, one for each version, or nullopt
/// when the version text would lead out of the temporary folder. Any thread.
std::optional<std::string> workingFolder(const std::string &temporary, const std::string &versie);

}  // namespace orvel
