#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Writes any bytes as the raw value of a key file's entry: the file's own
/// escapes, and "\xHH" for NUL, control characters and what is not UTF-8.
std::string keyFileValue(std::string_view text);

/// The inverse; nothing for a value with an unknown escape.
std::optional<std::string> textOfKeyFileValue(std::string_view value);

}  // namespace orvel
