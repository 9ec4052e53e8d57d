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
  /// Returns false without a call unless both paths are folders, and different ones. Sets the
  /// modification date of the new folder to now: unpacking an archive restores the date of the
  /// release, but Launch Services notices a changed bundle by its date.
  bool replaceItem(const std::string &original, const std::string &replacement) const override;
  bool canReplaceItem(const std::string &original) const override;
  /// Sets NSURLQuarantinePropertiesKey. NSURLSession does not set it in an application
  /// without a sandbox; the key LSFileQuarantineEnabled in Info.plist would also mark the
  /// files that the OS server (the Node.js child process) writes.
  void quarantine(const std::string &file, const Url &source) const override;
  bool isExecutableFile(const std::string &path) const override;
};

}  // namespace orvel
