#pragma once

#include <string>

namespace orvel {

/// Unpacks a ZIP archive into an existing folder with libarchive, with permissions and
/// times but without owners. Rejects another format; a truncated, corrupt or encrypted
/// archive; names and link targets that are absolute or have a component ".."; entries
/// whose path leads through a symbolic link; and entries other than folders, regular
/// files and symbolic links.
///
/// Returns false when an entry was rejected or could not be written. A part of the
/// archive may then be in the folder, but never outside it. Any thread; gives the
/// calling thread its own umask and working directory (CLONE_FS). Blocks on the disk.
bool extractArchive(const std::string &archive, const std::string &folder);

}  // namespace orvel
