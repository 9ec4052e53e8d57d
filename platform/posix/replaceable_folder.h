#pragma once

#include <string>

namespace orvel {

/// Returns whether this process may replace a folder: whether it may write to the
/// folder, because a move changes its ".." entry, and to the parent. Follows symbolic
/// links in the path. False when there is no such folder. Any thread; may block on
/// the disk.
bool canReplaceFolder(const std::string &path);

}  // namespace orvel
