#pragma once

#include <optional>
#include <string>

#include "platform/property_list.h"

namespace orvel {

/// Returns the text entries of a property list in its XML form (UTF-8) whose top
/// level is a dictionary; entries of other types are left out. Returns nullopt
/// when the bytes are no such list. Any thread.
std::optional<PlistTexts> parsePlistTexts(const std::string &bytes);

}  // namespace orvel
