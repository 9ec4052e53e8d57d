#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/file_handle.h"

namespace orvel {

/// A file, such as a download in progress, that is removed with this object unless `moveFile`
/// (base/file_move.h) has moved it. Its permissions are those of any new file of the user (umask).
/// Any thread, one at a time.
class TemporaryFile {
 public:
  enum class Kind {
    /// A file without a name (open(2), O_TMPFILE), which even a killed process does not leave
    /// behind. A hidden file where the file system does not support that.
    unnamed,
    /// A hidden file, which has an ordinary path instead of one in /proc. It is removed when the
    /// process exits, but not when the process is killed.
    hidden,
  };

  /// Creates the file in the first of the folders where that is possible.
  explicit TemporaryFile(const std::vector<std::string> &folders, Kind kind = Kind::unnamed);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile &) = delete;
  TemporaryFile &operator=(const TemporaryFile &) = delete;

  /// Returns whether the file was created.
  bool isOpen() const { return created_.descriptor >= 0; }
  /// Returns a path of the file that other processes can open too.
  const std::string &path() const { return created_.path; }
  /// Appends bytes. Returns false when that fails. Blocks on the disk.
  bool write(std::string_view bytes) { return file_.write(bytes); }

 private:
  struct Created {
    int descriptor = -1;
    std::string path{};
    bool isHidden = false;
  };
  static Created create(const std::vector<std::string> &folders, Kind kind);

  const Created created_;
  FileHandle file_;
};

}  // namespace orvel
