#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Encodes any bytes as the raw value of a key file entry: with the escapes of the Desktop
/// Entry format, and with "\xHH" for other control characters and bytes that are not UTF-8.
/// Any thread.
std::string keyFileValue(std::string_view text);

/// Decodes the result of `keyFileValue`. Returns nullopt for a malformed escape. Any thread.
std::optional<std::string> textOfKeyFileValue(std::string_view value);

}  // namespace orvel
