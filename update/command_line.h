#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/edition.h"

namespace orvel {

/// Returns a path in single quotes, or nullopt when the path contains a single quote:
/// it would end the quoting, and the shell would execute the rest.
std::optional<std::string> singleQuoted(std::string_view path);

/// Returns the command line: the first part of the command, the paths in single quotes
/// separated by spaces, and the second part. Returns nullopt when a path cannot be quoted.
std::optional<std::string> commandLine(const ShellCommand &command,
                                       const std::vector<std::string> &paths);

}  // namespace orvel
