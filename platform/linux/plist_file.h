#pragma once

#include <optional>
#include <string>

#include "platform/property_list.h"

namespace orvel {

/// The text entries of a property list (XML or binary) whose top level is a
/// dictionary; entries of other types are left out. Nothing when the bytes are
/// no such list. Any thread.
std::optional<PlistTexts> parsePlistTexts(const std::string &bytes);

}  // namespace orvel
