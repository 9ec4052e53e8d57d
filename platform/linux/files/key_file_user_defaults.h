#pragma once

#include <sys/types.h>

#include <ctime>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "platform/user_defaults.h"

namespace orvel {

/// User defaults in the group "Defaults" of a key file (Desktop Entry format). Several
/// processes may share the file: a read sees the changes of other processes, and a change is
/// merged into the file under a lock. Reads are cached until the stat(2) result of the file
/// changes. A file that is not a key file counts as empty; the first change renames it to the
/// same name with ".damaged" or, if that exists, a numbered suffix. Any thread; blocks on the
/// disk.
class KeyFileUserDefaults final : public UserDefaults {
 public:
  /// Every change creates the folder of the file if necessary, and sets the folder's mode to 0700.
  explicit KeyFileUserDefaults(std::string path);

  std::optional<std::string> text(std::string_view key) const override;
  void setText(std::string_view key, std::string_view value) override;

 private:
  using Texts = std::map<std::string, std::string, std::less<>>;

  /// Identifies the contents of a file. All zero for a missing file.
  struct FileVersion {
    dev_t device = 0;
    ino_t inode = 0;
    off_t size = 0;
    /// The time of the last change of the contents or the permissions.
    std::time_t changeSeconds = 0;
    long changeNanoseconds = 0;

    static FileVersion of(const std::string &path);
    /// Returns whether every later change gets another version. File systems round times, so
    /// two changes within a second may get the same one.
    bool isSettled() const;
    bool operator==(const FileVersion &) const = default;
  };

  /// Returns the entries of the file by their encoded names, from the cache if the file has
  /// not changed. Requires the mutex.
  const Texts &currentEntries() const;

  const std::string path_;
  mutable std::mutex mutex_;
  /// The entries of the file when it had the cached version.
  mutable Texts entries_;
  /// Absent when the entries must be read again.
  mutable std::optional<FileVersion> cachedVersion_;
  /// Values that could not be written, by key. The next change writes them too.
  Texts unsaved_;
};

}  // namespace orvel
