#pragma once

#include <string>

#include "platform/file_handle.h"

namespace orvel {

/// Keeps a folder for one holder at a time, in this process or in any other,
/// until it goes (flock). Any thread; does not wait.
class FolderLock {
 public:
  explicit FolderLock(const std::string &folder);

  /// Whether somebody else holds the folder. A folder that cannot be opened
  /// nobody holds.
  bool isHeldElsewhere() const { return isHeldElsewhere_; }

 private:
  const FileHandle folder_;
  const bool isHeldElsewhere_;
};

}  // namespace orvel
