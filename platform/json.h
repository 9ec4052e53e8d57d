#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orvel {

using JsonTexts = std::map<std::string, std::string, std::less<>>;

/// Returns the members of a JSON object (RFC 8259, as UTF-8, with or without a
/// byte order mark) whose values are texts; members of other types are left out,
/// and of two with one name the last counts. Returns nullopt when the bytes are
/// no JSON or their top level is no object, and when they are nested without
/// reason or hold half of a surrogate pair. A platform may also refuse a number
/// beyond the range of a double. Any thread.
std::optional<JsonTexts> parseJsonTexts(std::string_view bytes);

}  // namespace orvel
