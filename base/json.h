#pragma once

#include <optional>
#include <string_view>

#include "base/text_map.h"

namespace orvel {

/// Returns the members of a JSON object (RFC 8259, as UTF-8, with or without a
/// byte order mark) whose values are strings. Members of other types are left out.
/// The last of two members with the same name counts. Returns nullopt when the bytes
/// are not JSON, the top level is not an object, the nesting is too deep (Linux: 512
/// levels) or an escape is an unpaired surrogate. A platform may also reject a number
/// that is out of range for a double. Any thread.
std::optional<TextMap> parseJsonTexts(std::string_view bytes);

}  // namespace orvel
