#pragma once

#include "platform/locations.h"

namespace orvel {

/// The user's folders by NSFileManager. Any thread.
class FileManagerLocations final : public Locations {
 public:
  std::string home() const override;
  /// Returns the first folder of NSDownloadsDirectory. Raises NSRangeException, which ends the
  /// process, when the user has none.
  std::string downloads() const override;
  std::string temporary() const override;
  /// Calls -[NSFileManager replaceItemAtURL:...] without options and without a backup.
  /// Returns false without a call unless both paths are folders, and different ones.
  bool replaceItem(const std::string &original, const std::string &replacement) const override;
  bool canReplaceItem(const std::string &original) const override;
  bool isExecutableFile(const std::string &path) const override;
};

}  // namespace orvel
