#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/platform_names.h"

namespace orvel {

/// Returns a path between single quotes, or nullopt when it holds one itself:
/// that would end the quotes, and the shell would run the rest of the path.
std::optional<std::string> singleQuoted(std::string_view path);

/// Returns the command with these paths in it, or nullopt when one of them
/// cannot be quoted.
std::optional<std::string> commandLine(const ShellCommand &command,
                                       const std::vector<std::string> &paths);

}  // namespace orvel
