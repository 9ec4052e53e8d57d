#include "platform/linux/files/key_file_user_defaults.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>

#include "base/file_handle.h"
#include "base/private_folder.h"
#include "platform/linux/files/file_bytes.h"
#include "platform/linux/files/key_file_text.h"
#include "platform/linux/glib/glib_text.h"

namespace orvel {

namespace {

constexpr const char *group = "Defaults";
/// The limit of the file, in bytes.
constexpr std::size_t maxFileSize = 16'000'000;
/// The coarsest resolution of timestamps that file systems are expected to have, in seconds.
constexpr std::time_t timestampResolution = 1;

struct KeyFileRelease {
  void operator()(GKeyFile *file) const { g_key_file_unref(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileRelease>;

/// Encodes a key as the name of a key file entry, which must not be empty or contain "=" or
/// brackets.
std::string keyName(std::string_view key) {
  // No other key gets this name, because two hexadecimal digits follow the "%" of an escape.
  if (key.empty()) return "%";
  // The literal lists the characters that stay unescaped besides letters, digits and "-._~".
  const GlibText escaped(g_uri_escape_bytes(reinterpret_cast<const guint8 *>(key.data()),
                                            key.size(), " /:@+,;!$&'()*"));
  std::string name = escaped.get();
  // Encoded too, because GKeyFile removes spaces at the start and end of a name.
  if (name.back() == ' ') name.replace(name.size() - 1, 1, "%20");
  if (name.front() == ' ') name.replace(0, 1, "%20");
  return name;
}

/// The result of reading the file.
struct Loaded {
  KeyFile file{g_key_file_new()};
  /// Whether something exists at the path that is not a key file or cannot be read.
  bool damaged = false;
  /// Whether it cannot be read, perhaps temporarily, for example when no descriptor is free.
  /// `damaged` is then also true.
  bool unreadable = false;
};

Loaded load(const std::string &path) {
  Loaded loaded;
  const FileBytes read = readFileBytes(path, maxFileSize);
  if (read.state == FileBytes::State::missing) return loaded;
  const auto flags =
      static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  loaded.unreadable = read.state == FileBytes::State::unreadable;
  // A power failure may leave NULs in the file, which GKeyFile would skip.
  if (read.state != FileBytes::State::read || read.bytes.find('\0') != std::string::npos ||
      !g_key_file_load_from_data(loaded.file.get(), read.bytes.data(), read.bytes.size(), flags,
                                 nullptr)) {
    loaded.file.reset(g_key_file_new());
    loaded.damaged = true;
  }
  return loaded;
}

/// Renames a damaged file without replacing an earlier one.
bool moveAside(const std::string &path) {
  std::string aside = path + ".damaged";
  for (int number = 2; ::access(aside.c_str(), F_OK) == 0; ++number) {
    aside = path + ".damaged." + std::to_string(number);
  }
  return std::rename(path.c_str(), aside.c_str()) == 0;
}

/// Writes a file and flushes it to the disk.
bool writeDurably(const std::string &path, std::string_view content) {
  const auto file = FileHandle::createPrivate(path);
  return file && file->write(content) && ::fsync(file->descriptor()) == 0;
}

/// Returns the entries of the group "Defaults" by their encoded names. Leaves out entries
/// whose value is malformed.
std::map<std::string, std::string, std::less<>> entriesOf(GKeyFile *file) {
  std::map<std::string, std::string, std::less<>> entries;
  const std::unique_ptr<char *, void (*)(char **)> names(
      g_key_file_get_keys(file, group, nullptr, nullptr), g_strfreev);
  for (char **name = names.get(); name != nullptr && *name != nullptr; ++name) {
    const GlibText value(g_key_file_get_value(file, group, *name, nullptr));
    if (auto text = textOfKeyFileValue(value.get())) entries.insert_or_assign(*name, *text);
  }
  return entries;
}

}  // namespace

KeyFileUserDefaults::FileVersion KeyFileUserDefaults::FileVersion::of(const std::string &path) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) return {};
  return {.device = status.st_dev,
          .inode = status.st_ino,
          .size = status.st_size,
          .changeSeconds = status.st_ctim.tv_sec,
          .changeNanoseconds = status.st_ctim.tv_nsec};
}

bool KeyFileUserDefaults::FileVersion::isSettled() const {
  return std::time(nullptr) - changeSeconds > timestampResolution;
}

KeyFileUserDefaults::KeyFileUserDefaults(std::string path) : path_(std::move(path)) {}

std::optional<std::string> KeyFileUserDefaults::text(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto found = unsaved_.find(key);
  if (found != unsaved_.end()) return found->second;
  const Texts &entries = currentEntries();
  const auto entry = entries.find(keyName(key));
  if (entry == entries.end()) return std::nullopt;
  return entry->second;
}

const KeyFileUserDefaults::Texts &KeyFileUserDefaults::currentEntries() const {
  // Determined before the file is read, so that the next call notices a change in between.
  const FileVersion version = FileVersion::of(path_);
  if (cachedVersion_ == version) return entries_;
  const Loaded loaded = load(path_);
  entries_ = entriesOf(loaded.file.get());
  // Then `version` is that of a missing file, although the file has been read.
  const bool appearedMeanwhile = version == FileVersion() && !entries_.empty();
  cachedVersion_.reset();
  // The next read of an unreadable file may succeed with the same version. An unsettled version may
  // stay the same when the file changes again.
  if (!loaded.unreadable && !appearedMeanwhile && version.isSettled()) cachedVersion_ = version;
  return entries_;
}

void KeyFileUserDefaults::setText(std::string_view key, std::string_view value) {
  const std::lock_guard lock(mutex_);
  unsaved_.insert_or_assign(std::string(key), std::string(value));

  const auto folderPath = std::filesystem::path(path_).parent_path();
  ensurePrivateFolder(folderPath);
  const FileHandle folder(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.descriptor() < 0) return;
  // The kernel releases the lock when the descriptor closes, even if the process is killed. After
  // an error other than EINTR, the file is changed without a lock.
  while (::flock(folder.descriptor(), LOCK_EX) != 0 && errno == EINTR) {
  }

  // Not from the cache: another process may have changed the file before the lock was taken.
  const Loaded loaded = load(path_);
  for (const auto &[name, text] : unsaved_) {
    g_key_file_set_value(loaded.file.get(), group, keyName(name).c_str(),
                         keyFileValue(text).c_str());
  }
  gsize size = 0;
  const GlibText content(g_key_file_to_data(loaded.file.get(), &size, nullptr));

  const std::string temporary = path_ + ".new";
  if (!writeDurably(temporary, {content.get(), size})) return;
  if (loaded.damaged && !moveAside(path_)) return;
  if (std::rename(temporary.c_str(), path_.c_str()) != 0) return;
  ::fsync(folder.descriptor());
  unsaved_.clear();
}

}  // namespace orvel
