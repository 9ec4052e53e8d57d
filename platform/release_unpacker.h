#pragma once

#include <string>

namespace orvel {

/// Unpacks a release where the system has no tool of its own that does it
/// safely.
class ReleaseUnpacker {
 public:
  virtual ~ReleaseUnpacker() = default;

  /// Unpacks an archive into an existing folder, so that "Orvel OS.app" appears
  /// in it whole and able to run here, or not at all. What else is left in the
  /// folder is undefined. Any thread; blocks on the disk.
  virtual void unpack(const std::string &archive, const std::string &folder) const = 0;
};

}  // namespace orvel
