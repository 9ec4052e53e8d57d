#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Returns the usual extension, without full stop, of files of a media type,
/// which may have parameters (RFC 9110, 8.3.1) and may be an alias. Returns
/// nullopt for types that the shared MIME database has no extension for. Of
/// several extensions of the highest weight it is the one that the database
/// lists first, but for a few types for which another is more usual. Looks in the
/// folders of GIO's content types each time: GIO itself goes from names to types
/// only. Any thread.
std::optional<std::string> usualExtension(std::string_view mediaType);

}  // namespace orvel
