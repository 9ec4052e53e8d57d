#pragma once

#include <string>

namespace orvel {

/// Puts a folder in the place of another by exchanging the two at once, so that
/// a whole folder stands at the path at every moment, and removes the old one.
/// A replacement from another file system is copied beside the original first.
/// A file system that cannot exchange gets two renames instead, of which the
/// first is undone when the second fails; between the two alone nothing stands
/// at the path, and the old folder beside it.
///
/// False, with the original as it was, when one of the two is no real folder,
/// both are the same or the disk refuses. What an end of the process leaves
/// beside the original is removed by the next replacement. Replacements in one
/// folder wait for each other. Any thread; blocks on the disk.
bool replaceFolder(const std::string &original, const std::string &replacement);

}  // namespace orvel
