#pragma once

#include <map>
#include <optional>
#include <string>

namespace orvel {

using PlistTexts = std::map<std::string, std::string, std::less<>>;

/// Returns the text entries of a property list in a file (XML; macOS reads the
/// binary form as well) whose top level is a dictionary; entries of other types
/// are left out. Returns nullopt when the file cannot be read, is no such list,
/// or is longer than any bundle's information. Any thread.
std::optional<PlistTexts> readPlistTexts(const std::string &path);

}  // namespace orvel
