#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// Percent-encodes the characters of a URL or a relative reference that RFC 3986
/// does not allow where they stand: blanks, control characters, bytes beyond
/// ASCII, "|", brackets outside an authority, a second "#", a "%" that begins no
/// escape. Whole escapes stay, so that encoding twice changes nothing. What is
/// wrong in itself, such as a port of letters, is left for the parser to refuse.
/// Any thread.
std::string withEscapes(std::string_view reference);

}  // namespace orvel
