#pragma once

#include <string>

namespace orvel {

/// Replaces a folder with another one and removes the old one. A replacement on another file
/// system is first copied to a folder next to the original. Where the file system supports
/// RENAME_EXCHANGE (renameat2(2)), exchanges the two folders atomically, so that the path
/// has a complete folder at every moment. Elsewhere uses two renames: between them, nothing
/// is at the path and the old folder is next to it. Undoes the first rename when the second
/// one fails.
///
/// Returns false, with the original unchanged, when one of the two is not a real folder,
/// when both are the same folder, when another replacement in the parent folder takes too
/// long, or after a disk error. The next replacement removes what a killed process has left
/// next to the original. Any thread; blocks on the disk and on other replacements in the
/// parent folder.
bool replaceFolder(const std::string &original, const std::string &replacement);

}  // namespace orvel
