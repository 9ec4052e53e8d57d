#pragma once

#include <string>

namespace orvel {

/// Unpacks releases on Linux, which has no command for zip archives that is always installed.
/// macOS uses a command instead (`Edition::unpack`).
class ReleaseUnpacker {
 public:
  virtual ~ReleaseUnpacker() = default;

  /// Unpacks an archive into an existing folder. "Orvel OS.app", the folder of the
  /// application in the releases of both editions, appears there only if the whole archive
  /// is unpacked and its program can be loaded on this machine. Other contents of the
  /// folder are undefined afterwards. Any thread; blocks on the disk.
  virtual void unpack(const std::string &archive, const std::string &folder) const = 0;
};

}  // namespace orvel
