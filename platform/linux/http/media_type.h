#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// Returns the usual extension, without full stop, of files of a media type, which may have
/// parameters (RFC 9110, section 8.3.1) and may be an alias. Returns nullopt when the shared
/// MIME database has no extension for the type. Of several extensions with the highest weight
/// in the database, returns the first one, except for a few types for which another one is more
/// usual. Parses the files of the database, because GIO maps file names to types but not types
/// to extensions. Any thread; blocks on the disk.
std::optional<std::string> usualExtension(std::string_view mediaType);

}  // namespace orvel
