#pragma once

#include <chrono>
#include <string>

#include "base/file_handle.h"

namespace orvel {

/// An exclusive lock on a folder (flock), held until destruction. Excludes other locks
/// in this process and in other processes. Any thread.
class FolderLock {
 public:
  /// Locks the folder. Blocks until the lock is free or the timeout has passed.
  explicit FolderLock(const std::string &folder,
                      std::chrono::milliseconds timeout = std::chrono::milliseconds(0));

  /// Returns whether the timeout passed while another holder kept the lock. A folder that
  /// cannot be opened counts as unlocked.
  bool isHeldElsewhere() const { return isHeldElsewhere_; }

 private:
  const FileHandle folder_;
  const bool isHeldElsewhere_;
};

}  // namespace orvel
