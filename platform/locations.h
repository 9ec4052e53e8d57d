#pragma once

#include <string>

namespace orvel {

/// The user's folders, as paths without a trailing "/", and what lies there.
class Locations {
 public:
  virtual ~Locations() = default;

  /// The current user's home folder. Any thread.
  virtual std::string home() const = 0;
  /// The user's Downloads folder, which need not exist. Any thread.
  virtual std::string downloads() const = 0;
  /// A folder of the user's own for files that nobody keeps; it exists. Any
  /// thread.
  virtual std::string temporary() const = 0;
  /// Puts a folder in the place of another and removes that one. Whenever the
  /// process ends, either the old folder or the new one stands at the path,
  /// whole. Between two file systems only where the platform can. False when
  /// nothing was replaced; the original then is as it was. Any thread; blocks on
  /// the disk.
  virtual bool replaceItem(const std::string &original, const std::string &replacement) const = 0;
  /// Returns whether the user may replace the folder at the path: false on a
  /// read-only file system and where the folder or its parent is not writable.
  /// Symbolic links are followed. Any thread; may block on the disk.
  virtual bool canReplaceItem(const std::string &original) const = 0;
  /// Whether a file that may be executed lies at the path. Any thread.
  virtual bool isExecutableFile(const std::string &path) const = 0;
};

}  // namespace orvel
