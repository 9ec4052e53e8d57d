#pragma once

#include <chrono>
#include <string>

#include "base/file_handle.h"

namespace orvel {

/// Keeps a folder for one holder at a time, in this process or in any other,
/// until it goes (flock). Any thread; waits for another holder no longer than
/// it is told to.
class FolderLock {
 public:
  explicit FolderLock(const std::string &folder,
                      std::chrono::milliseconds patience = std::chrono::milliseconds(0));

  /// Whether somebody else holds the folder still. A folder that cannot be
  /// opened nobody holds.
  bool isHeldElsewhere() const { return isHeldElsewhere_; }

 private:
  const FileHandle folder_;
  const bool isHeldElsewhere_;
};

}  // namespace orvel
