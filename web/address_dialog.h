#pragma once

#include <string_view>

namespace orvel {

/// A text without the blanks and tabs at both ends. Line breaks stay.
std::string_view trimSpacesAndTabs(std::string_view text);

/// Whether a text may be stored as the address of the OS server: a URL with
/// the scheme http or https, in these letters.
bool isServerAddress(std::string_view text);

}  // namespace orvel
