#pragma once

#include <string>

#include "base/url.h"

namespace orvel {

/// The user's folders, and operations on the file system that differ between platforms.
/// Paths have no trailing "/".
class Locations {
 public:
  virtual ~Locations() = default;

  /// Returns the current user's home folder. Any thread.
  virtual std::string home() const = 0;
  /// Returns the user's Downloads folder, which may not exist. Any thread.
  virtual std::string downloads() const = 0;
  /// Returns an existing folder for the user's temporary files. Any thread.
  virtual std::string temporary() const = 0;
  /// Replaces a folder by another and deletes the original. Where the file system can
  /// exchange folders atomically, the path always has the complete old or new folder, even
  /// when the process is killed. Elsewhere, nothing exists at the path between two renames.
  /// Works between two file systems on Linux, on macOS only where NSFileManager does. Returns
  /// false when nothing was replaced; the original is then unchanged. Any thread; blocks on
  /// the disk.
  virtual bool replaceItem(const std::string &original, const std::string &replacement) const = 0;
  /// Returns whether the user may replace the folder at the path: false on a
  /// read-only file system and where the folder or its parent is not writable.
  /// Symbolic links are followed. Any thread; may block on the disk.
  virtual bool canReplaceItem(const std::string &original) const = 0;
  /// Marks a file as downloaded from a URL, so that the system asks the user before it
  /// starts a program from the file. Has no effect where files have no such mark (Linux) or when
  /// the mark cannot be written. Any thread.
  virtual void quarantine(const std::string &file, const Url &source) const = 0;
  /// Returns whether the path is a file that this user may execute. Any thread.
  virtual bool isExecutableFile(const std::string &path) const = 0;
};

}  // namespace orvel
