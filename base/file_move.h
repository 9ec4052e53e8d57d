#pragma once

#include <string>

namespace orvel {

enum class MoveResult {
  moved,
  /// Something exists at the destination. It is unchanged.
  destinationExists,
  failed,
};

/// Moves a file to a path at which nothing lies. It appears there whole or not
/// at all, and never in place of another. Any thread; may block on the disk.
MoveResult moveFile(const std::string &from, const std::string &to);

}  // namespace orvel
