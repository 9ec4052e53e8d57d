#pragma once

#include <string>

namespace orvel {

/// Unpacks a ZIP archive into an existing folder, with permissions and times but
/// without owners, by libarchive. Refused are: an archive of another format, a
/// truncated, corrupt or encrypted one, absolute names, names and link targets
/// with a component "..", absolute link targets, entries that lie behind a link,
/// and entries that are neither a folder nor a file nor a symbolic link.
///
/// False when anything was refused or could not be written; a part of the
/// archive may then lie in the folder, but never outside it. Any thread, which
/// gets a file mode mask of its own; blocks on the disk.
bool extractArchive(const std::string &archive, const std::string &folder);

}  // namespace orvel
