#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvel {

/// Puts paths into a command line that has them as {word} between single
/// quotes. Nothing when a path holds a single quote: it would end the quotes,
/// and the rest of it would be read as a command.
std::optional<std::string> commandLine(
    std::string_view line, const std::vector<std::pair<std::string_view, std::string>> &paths);

}  // namespace orvel
