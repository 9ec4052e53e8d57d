#pragma once

#include <optional>
#include <string>

namespace orvel {

/// Returns the Team ID in the code signature of this process, or nullopt for an unsigned or
/// ad hoc signed program. Any thread; blocks on the disk.
std::optional<std::string> teamIdentifierOfThisProcess();

/// Returns whether the code signature of a bundle is valid for all of its architectures,
/// resources and nested code, and was made with a certificate that Apple issued to the team.
/// Any thread; blocks on the disk.
bool hasValidSignatureOfTeam(const std::string &bundlePath, const std::string &team);

}  // namespace orvel
