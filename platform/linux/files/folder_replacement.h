#pragma once

#include <string>

namespace orvel {

/// Replaces a folder with another one and removes the old one. The two are exchanged
/// atomically (renameat2(2), RENAME_EXCHANGE), so a complete folder is at the path at every
/// moment. A replacement from another file system is first copied next to the original. On
/// a file system without RENAME_EXCHANGE two renames are used, and the first one is undone
/// when the second one fails. Only between these two renames is nothing at the path; the old
/// folder is then next to it.
///
/// Returns false, with the original unchanged, when one of the two is not a real folder,
/// when both are the same folder, when another replacement in the parent folder takes too
/// long, or after a disk error. The next replacement removes what a killed process has left
/// next to the original. Any thread; blocks on the disk and on other replacements in the
/// parent folder.
bool replaceFolder(const std::string &original, const std::string &replacement);

}  // namespace orvel
