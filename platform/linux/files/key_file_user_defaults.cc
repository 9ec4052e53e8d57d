#include "platform/linux/files/key_file_user_defaults.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <utility>

#include "base/file_handle.h"
#include "platform/linux/files/file_bytes.h"
#include "platform/linux/files/key_file_text.h"
#include "platform/linux/glib/glib_text.h"

namespace orvel {

namespace {

constexpr const char *group = "Defaults";
constexpr std::size_t longestFile = 16'000'000;

struct KeyFileRelease {
  void operator()(GKeyFile *file) const { g_key_file_unref(file); }
};
using KeyFile = std::unique_ptr<GKeyFile, KeyFileRelease>;

/// A key as a key file can name it: "=" and brackets are not allowed there.
std::string keyName(std::string_view key) {
  if (key.empty()) return "%";
  const GlibText escaped(g_uri_escape_bytes(reinterpret_cast<const guint8 *>(key.data()),
                                            key.size(), " /:@+,;!$&'()*"));
  std::string name = escaped.get();
  // A name can neither begin nor end with a blank.
  if (name.back() == ' ') name.replace(name.size() - 1, 1, "%20");
  if (name.front() == ' ') name.replace(0, 1, "%20");
  return name;
}

struct Loaded {
  KeyFile file{g_key_file_new()};
  /// Something lies there that is no key file.
  bool damaged = false;
};

Loaded load(const std::string &path) {
  Loaded loaded;
  const FileBytes read = readFileBytes(path, longestFile);
  if (read.state == FileBytes::State::missing) return loaded;
  const auto flags =
      static_cast<GKeyFileFlags>(G_KEY_FILE_KEEP_COMMENTS | G_KEY_FILE_KEEP_TRANSLATIONS);
  // GLib skips the NULs that a crash of the machine may leave.
  if (read.state != FileBytes::State::read || read.bytes.find('\0') != std::string::npos ||
      !g_key_file_load_from_data(loaded.file.get(), read.bytes.data(), read.bytes.size(), flags,
                                 nullptr)) {
    loaded.file.reset(g_key_file_new());
    loaded.damaged = true;
  }
  return loaded;
}

/// Moves a file aside without losing one that was moved there earlier.
bool moveAside(const std::string &path) {
  std::string aside = path + ".damaged";
  for (int number = 2; ::access(aside.c_str(), F_OK) == 0; ++number) {
    aside = path + ".damaged." + std::to_string(number);
  }
  return std::rename(path.c_str(), aside.c_str()) == 0;
}

bool writeDurably(const std::string &path, std::string_view content) {
  FileHandle file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOCTTY, 0600));
  return file.descriptor() >= 0 && file.write(content) && ::fsync(file.descriptor()) == 0;
}

}  // namespace

KeyFileUserDefaults::KeyFileUserDefaults(std::string path) : path_(std::move(path)) {}

std::optional<std::string> KeyFileUserDefaults::text(std::string_view key) const {
  const std::lock_guard lock(mutex_);
  const auto found = unsaved_.find(key);
  if (found != unsaved_.end()) return found->second;
  const Loaded loaded = load(path_);
  const GlibText value(
      g_key_file_get_value(loaded.file.get(), group, keyName(key).c_str(), nullptr));
  if (!value) return std::nullopt;
  return textOfKeyFileValue(value.get());
}

void KeyFileUserDefaults::setText(std::string_view key, std::string_view value) {
  const std::lock_guard lock(mutex_);
  unsaved_.insert_or_assign(std::string(key), std::string(value));

  const auto folderPath = std::filesystem::path(path_).parent_path().string();
  g_mkdir_with_parents(folderPath.c_str(), 0700);
  const FileHandle folder(::open(folderPath.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (folder.descriptor() < 0) return;
  // Held until the descriptor closes, also when the process is killed.
  while (::flock(folder.descriptor(), LOCK_EX) != 0 && errno == EINTR) {
  }

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
