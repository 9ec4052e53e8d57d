#pragma once

#include <string>
#include <string_view>

namespace orvel {

/// Percent-encodes the characters of a URL or a relative reference that RFC 3986 does
/// not allow at their position: spaces, control characters, non-ASCII bytes, "|",
/// brackets outside an authority, a second "#", and a "%" that does not begin an
/// escape. Leaves complete escapes alone, so that the function is idempotent. Does
/// not repair other errors, such as letters in a port; the parser rejects those. Any
/// thread.
std::string percentEncoded(std::string_view reference);

}  // namespace orvel
