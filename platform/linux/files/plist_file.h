#pragma once

#include <optional>
#include <string>

#include "base/property_list.h"

namespace orvel {

/// Returns the string entries of an XML property list (UTF-8) whose top level is a
/// dictionary. Entries of other types are left out. Returns nullopt when the bytes are
/// not such a list. Any thread.
std::optional<TextMap> parsePlistTexts(const std::string &bytes);

}  // namespace orvel
