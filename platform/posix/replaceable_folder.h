#pragma once

#include <string>

namespace orvel {

/// Returns whether this process may put another folder in the place of one:
/// whether it may write to the folder, of which a move changes the entry "..",
/// and to its parent. Symbolic links in the path are followed. False when there
/// is no such folder. Any thread; may block on the disk.
bool canReplaceFolder(const std::string &path);

}  // namespace orvel
