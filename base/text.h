#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvel {

/// Returns UTF-8 text without leading and trailing white space and line breaks, as
/// the platform's Unicode library defines them: spaces, tabs, line feeds, carriage
/// returns and the other Unicode separators. Returns nullopt when the bytes are not
/// UTF-8. Any thread.
std::optional<std::string> trimmedText(std::string_view bytes);

/// Splits UTF-8 text at its full stops and leaves out empty pieces. A full stop that is
/// part of a longer grapheme cluster (UAX 29), such as one with a combining mark, does
/// not split. The platform's Unicode library finds the clusters. Any thread.
std::vector<std::string> splitAtFullStops(std::string_view text);

}  // namespace orvel
