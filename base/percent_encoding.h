#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Returns whether the text has a percent escape, "%" and two hexadecimal digits
/// (RFC 3986, 2.1), at a position. Any thread.
bool hasPercentEscapeAt(std::string_view text, std::size_t position);

/// Percent-encodes the characters of a URL or a relative reference that RFC 3986 does
/// not allow at their position: spaces, control characters, non-ASCII bytes, "|",
/// brackets outside an authority, a second "#", and a "%" that does not begin an
/// escape. Leaves complete escapes alone, so that the function is idempotent. Does
/// not repair other errors, such as letters in a port; the parser rejects those. Any
/// thread.
std::string percentEncoded(std::string_view reference);

/// Replaces each percent escape by its byte, which need not be UTF-8 and may be NUL.
/// Returns nullopt when a "%" does not begin an escape. Any thread.
std::optional<std::string> percentDecoded(std::string_view text);

}  // namespace orvel
