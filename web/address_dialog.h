#pragma once

#include <string_view>

namespace orvel {

/// Returns the text without leading and trailing spaces and tabs. Keeps line breaks.
std::string_view trimSpacesAndTabs(std::string_view text);

/// Returns whether a text is a valid address for the OS server: a URL with the scheme
/// "http" or "https" in lower case.
bool isServerAddress(std::string_view text);

}  // namespace orvel
