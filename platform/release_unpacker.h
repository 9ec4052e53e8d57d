#pragma once

#include <string>

namespace orvel {

/// Unpacks releases on systems that have no safe command for it.
class ReleaseUnpacker {
 public:
  virtual ~ReleaseUnpacker() = default;

  /// Unpacks an archive into an existing folder. "Orvel OS.app" appears in the folder
  /// only if the whole archive is unpacked and its program can be loaded on this
  /// machine. Other contents of the folder are undefined afterwards. Any thread;
  /// blocks on the disk.
  virtual void unpack(const std::string &archive, const std::string &folder) const = 0;
};

}  // namespace orvel
