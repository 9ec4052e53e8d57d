#include "platform/linux/files/temporary_file.h"

#include <fcntl.h>
#include <glib.h>
#include <unistd.h>

#include <cstdlib>
#include <mutex>
#include <set>
#include <utility>

namespace orvel {

namespace {

/// The permissions of a new file before the umask.
constexpr int permissions = 0666;

/// The hidden files of this process. At exit the remaining ones are removed. From then on no new
/// ones are created: other threads may still be running, and nothing would remove their files.
class HiddenFiles {
 public:
  static HiddenFiles &all() {
    // Never destroyed, because other threads may still use it during exit.
    static HiddenFiles *const files = [] {
      std::atexit([] { all().removeForExit(); });
      return new HiddenFiles;
    }();
    return *files;
  }

  /// Creates a file. Replaces the "XXXXXX" in `pattern`, which thereby becomes the path of the
  /// file. Returns the descriptor, or -1.
  int create(std::string &pattern) {
    const std::lock_guard lock(mutex_);
    if (exiting_) return -1;
    const int descriptor = g_mkstemp_full(pattern.data(), O_WRONLY | O_CLOEXEC, permissions);
    if (descriptor >= 0) paths_.insert(pattern);
    return descriptor;
  }

  void remove(const std::string &path) {
    const std::lock_guard lock(mutex_);
    if (paths_.erase(path) > 0) ::unlink(path.c_str());
  }

 private:
  void removeForExit() {
    const std::lock_guard lock(mutex_);
    exiting_ = true;
    for (const std::string &path : paths_) ::unlink(path.c_str());
    paths_.clear();
  }

  std::mutex mutex_;
  bool exiting_ = false;
  std::set<std::string> paths_;
};

}  // namespace

TemporaryFile::TemporaryFile(const std::vector<std::string> &folders, Kind kind)
    : created_(create(folders, kind)), file_(created_.descriptor) {}

TemporaryFile::~TemporaryFile() {
  // Has no effect on a file that was moved: it is no longer at this path.
  if (created_.isHidden) HiddenFiles::all().remove(created_.path);
}

TemporaryFile::Created TemporaryFile::create(const std::vector<std::string> &folders, Kind kind) {
  for (const std::string &folder : folders) {
    if (kind == Kind::unnamed) {
      const int file = ::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, permissions);
      if (file >= 0) {
        return {.descriptor = file,
                .path = "/proc/" + std::to_string(::getpid()) + "/fd/" + std::to_string(file)};
      }
    }
    std::string path = folder + "/.orvel-XXXXXX";
    const int file = HiddenFiles::all().create(path);
    if (file >= 0) return {.descriptor = file, .path = std::move(path), .isHidden = true};
  }
  return {};
}

}  // namespace orvel
