#pragma once

#include <string>

namespace orvel {

enum class MoveResult {
  moved,
  /// Something exists at the destination. It is unchanged.
  destinationExists,
  failed,
};

/// Moves a file unless something exists at the destination. The file appears there
/// complete or not at all, and never replaces another file. Any thread; may block on the disk.
MoveResult moveFile(const std::string &from, const std::string &to);

}  // namespace orvel
