#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvel {

/// Takes bytes as UTF-8 and gives the text without white space and line breaks
/// at both ends, as the platform's Unicode library knows them: blanks, tabs,
/// line feeds, carriage returns and the other space and line separators.
/// Nothing when the bytes are not UTF-8. Any thread.
std::optional<std::string> trimmedText(std::string_view bytes);

/// Splits UTF-8 at its full stops, as the platform's Unicode library sees
/// characters: a full stop that is part of a larger user-perceived character
/// (one with a combining mark) does not split. Empty pieces are left out. Any
/// thread.
std::vector<std::string> splitAtFullStops(std::string_view text);

}  // namespace orvel
