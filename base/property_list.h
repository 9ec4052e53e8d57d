#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "base/text_map.h"

namespace orvel {

/// The size limit of a property list, in bytes. This application's Info.plist usually has about
/// 2,000.
inline constexpr std::size_t maxPropertyListSize = 128'000;

/// Returns the string entries of a property list file (XML; macOS also reads the
/// binary format) whose top level is a dictionary. Entries of other types are left
/// out. Returns nullopt when the file cannot be read, is not such a list or exceeds
/// maxPropertyListSize. Any thread.
std::optional<TextMap> readPlistTexts(const std::string &path);

}  // namespace orvel
