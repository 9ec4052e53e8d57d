#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Takes bytes as UTF-8 and gives the text without white space and line breaks
/// at both ends, as the platform's Unicode library knows them: blanks, tabs,
/// line feeds, carriage returns and the other space and line separators.
/// Nothing when the bytes are not UTF-8. Any thread.
std::optional<std::string> trimmedText(std::string_view bytes);

}  // namespace orvel
