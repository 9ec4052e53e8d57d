#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/file_handle.h"

namespace orvel {

/// A file that a download is written to, with the permissions of any new file
/// of the user's. It is gone with this object unless `moveFile` has taken it.
/// Any thread, one at a time.
class DownloadFile {
 public:
  enum class Kind {
    /// Without a name in any folder, so that nothing can be left behind
    /// (open(2), O_TMPFILE). Hidden where the file system has none such.
    unnamed,
    /// A hidden file, which is removed when the process exits, but not when the
    /// process is killed.
    hidden,
  };

  /// Makes the file in the first of the folders in which that is possible.
  explicit DownloadFile(const std::vector<std::string> &folders, Kind kind = Kind::unnamed);
  ~DownloadFile();
  DownloadFile(const DownloadFile &) = delete;
  DownloadFile &operator=(const DownloadFile &) = delete;

  /// Whether there is a file.
  bool isOpen() const { return made_.descriptor >= 0; }
  /// A path that leads to the file, also for other processes.
  const std::string &path() const { return made_.path; }
  /// Adds to the end. False when that fails. May block on the disk.
  bool write(std::string_view bytes) { return file_.write(bytes); }

 private:
  struct Made {
    int descriptor = -1;
    std::string path{};
    bool isHidden = false;
  };
  static Made make(const std::vector<std::string> &folders, Kind kind);

  const Made made_;
  FileHandle file_;
};

}  // namespace orvel
