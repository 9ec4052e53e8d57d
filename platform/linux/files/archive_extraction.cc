#include "platform/linux/files/archive_extraction.h"

#include <archive.h>
#include <archive_entry.h>
#include <sched.h>

#include <algorithm>
#include <clocale>
#include <filesystem>
#include <memory>
#include <system_error>

namespace orvel {

namespace {

namespace fs = std::filesystem;

/// The size of a read, in bytes.
constexpr std::size_t blockSize = std::size_t{64} * 1024;
// Without the set-user-ID, set-group-ID and sticky bits.
constexpr mode_t permissionBits = 0777;
// Without these permissions the user could not replace or remove a folder.
constexpr mode_t ownerPermissions = 0700;

using Reader = std::unique_ptr<archive, decltype(&archive_read_free)>;
using Writer = std::unique_ptr<archive, decltype(&archive_write_free)>;

/// Sets a UTF-8 locale on this thread during its lifetime: libarchive converts names to
/// the encoding of the locale.
class ScopedUtf8Locale {
 public:
  ScopedUtf8Locale() : locale_(::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{})) {
    if (locale_ != locale_t{}) previous_ = ::uselocale(locale_);
  }
  ~ScopedUtf8Locale() {
    if (locale_ == locale_t{}) return;
    ::uselocale(previous_);
    ::freelocale(locale_);
  }
  ScopedUtf8Locale(const ScopedUtf8Locale &) = delete;
  ScopedUtf8Locale &operator=(const ScopedUtf8Locale &) = delete;

 private:
  const locale_t locale_;
  locale_t previous_{};
};

/// Returns whether a path, appended to a folder, leads to a place in that folder.
bool staysInFolder(const fs::path &path) {
  return !path.empty() && path.is_relative() &&
         std::find(path.begin(), path.end(), "..") == path.end();
}

/// Returns whether an entry may be extracted. ARCHIVE_EXTRACT_SECURE_NOABSOLUTEPATHS cannot
/// check names, because extractEntry prepends the absolute path of the folder. libarchive never
/// checks the targets of links.
bool isAllowed(archive_entry *entry) {
  const char *name = archive_entry_pathname(entry);
  if (name == nullptr || !staysInFolder(name) || archive_entry_is_encrypted(entry) != 0) {
    return false;
  }
  const auto type = archive_entry_filetype(entry);
  // A file or link named "." or "a/." would replace a folder.
  const auto plainName = fs::path(name).lexically_normal();
  if (type != AE_IFDIR && (plainName == "." || !plainName.has_filename())) return false;
  if (type == AE_IFLNK) {
    const char *target = archive_entry_symlink(entry);
    return target != nullptr && staysInFolder(target);
  }
  return type == AE_IFREG || type == AE_IFDIR;
}

/// Subtracts an amount from the remainder of a limit. Returns false when it exceeds the remainder.
bool subtract(std::uint64_t &remaining, std::uint64_t amount) {
  if (amount > remaining) return false;
  remaining -= amount;
  return true;
}

/// Copies an entry's contents. Counts the bytes that it reads, because the sizes in the archive
/// may be wrong.
bool copyContents(archive *from, archive *to, ArchiveLimits &remaining) {
  while (true) {
    const void *block = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    const int result = archive_read_data_block(from, &block, &size, &offset);
    if (result == ARCHIVE_EOF) return true;
    if (result != ARCHIVE_OK || !subtract(remaining.size, size) ||
        archive_write_data_block(to, block, size, offset) != ARCHIVE_OK) {
      return false;
    }
  }
}

bool extractEntry(archive *from, archive_entry *entry, archive *to, const fs::path &folder,
                  ArchiveLimits &remaining) {
  if (!isAllowed(entry) || !subtract(remaining.entries, 1)) return false;
  const mode_t added = archive_entry_filetype(entry) == AE_IFDIR ? ownerPermissions : 0;
  archive_entry_set_perm(entry, (archive_entry_perm(entry) & permissionBits) | added);
  archive_entry_set_pathname(entry, (folder / archive_entry_pathname(entry)).c_str());
  return archive_write_header(to, entry) == ARCHIVE_OK && copyContents(from, to, remaining) &&
         archive_write_finish_entry(to) == ARCHIVE_OK;
}

}  // namespace

bool extractArchive(const std::string &archive, const std::string &folder, ArchiveLimits limits) {
  // ARCHIVE_EXTRACT_SECURE_SYMLINKS also rejects symbolic links in the path of the folder.
  std::error_code error;
  const fs::path target = fs::canonical(folder, error);
  if (error) return false;
  // libarchive reads the umask by calling umask(2), which changes it for a moment. From now on
  // this thread has its own umask, so other threads are not affected.
  ::unshare(CLONE_FS);
  const ScopedUtf8Locale locale;
  const Reader from(archive_read_new(), archive_read_free);
  const Writer to(archive_write_disk_new(), archive_write_free);
  // The streaming reader does not see modes and links: they are in the central directory
  // at the end of the file.
  if (archive_read_support_format_zip_seekable(from.get()) != ARCHIVE_OK ||
      archive_write_disk_set_options(to.get(), ARCHIVE_EXTRACT_PERM | ARCHIVE_EXTRACT_TIME |
                                                   ARCHIVE_EXTRACT_SECURE_SYMLINKS |
                                                   ARCHIVE_EXTRACT_SECURE_NODOTDOT) != ARCHIVE_OK ||
      archive_read_open_filename(from.get(), archive.c_str(), blockSize) != ARCHIVE_OK) {
    return false;
  }
  while (true) {
    archive_entry *entry = nullptr;
    const int result = archive_read_next_header(from.get(), &entry);
    // archive_write_close sets the modes and times of folders.
    if (result == ARCHIVE_EOF) return archive_write_close(to.get()) == ARCHIVE_OK;
    // Also fails on ARCHIVE_WARN, because the central directory and the local header differ then.
    if (result != ARCHIVE_OK || !extractEntry(from.get(), entry, to.get(), target, limits)) {
      return false;
    }
  }
}

}  // namespace orvel
