#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvel {

/// The folders of the shared MIME database, the more general ones first. Any
/// thread.
std::vector<std::string> mediaTypeFolders();

/// The usual extension, without full stop, of files of a media type, which may
/// have parameters (RFC 9110, 8.3.1). Nothing for types that the database has
/// no extension for. Of several extensions of the highest weight it is the one
/// that the database lists first, but for a few types for which another is
/// more usual. Reads the database each time. Any thread.
std::optional<std::string> usualExtension(std::string_view mediaType,
                                          const std::vector<std::string> &folders);

}  // namespace orvel
