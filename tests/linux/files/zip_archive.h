#pragma once

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <clocale>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace orvel::posix_test {

/// An entry of a ZIP archive. Name and mode are written unchanged.
struct ZipEntry {
  std::string name;
  /// Includes the file type bits of <sys/stat.h>.
  unsigned mode = 0100644;
  /// The bytes of a file or the target of a symbolic link.
  std::string contents;
};

inline ZipEntry zipFile(const std::string &name, const std::string &contents,
                        unsigned permissions = 0644) {
  return {name, S_IFREG | permissions, contents};
}
inline ZipEntry zipFolder(const std::string &name, unsigned permissions = 0755) {
  return {name, S_IFDIR | permissions, ""};
}
inline ZipEntry zipLink(const std::string &name, const std::string &target) {
  return {name, S_IFLNK | 0777U, target};
}

/// The modification time of every entry that `writeZip` writes.
inline constexpr time_t zipModificationTime = 1'700'000'000;

/// Writes an archive with names in UTF-8. The options are those of libarchive's writer, such as
/// "zip:compression=store" or "zip:encryption=traditional". Throws std::runtime_error with
/// libarchive's message on failure.
inline void writeZip(const std::filesystem::path &path, const std::vector<ZipEntry> &entries,
                     const std::string &options = "") {
  const std::unique_ptr<archive, decltype(&archive_write_free)> zip(archive_write_new(),
                                                                    archive_write_free);
  const auto require = [&zip](bool succeeded) {
    if (!succeeded) throw std::runtime_error(archive_error_string(zip.get()));
  };
  // libarchive converts names from the encoding of the locale.
  const locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
  const locale_t previous = ::uselocale(utf8);
  require(archive_write_set_format_zip(zip.get()) == ARCHIVE_OK);
  // A block size of 0 writes the bytes unbuffered (archive_write_blocksize(3)).
  require(archive_write_set_bytes_per_block(zip.get(), 0) == ARCHIVE_OK);
  require(archive_write_set_options(zip.get(), options.c_str()) == ARCHIVE_OK);
  // Used only with the option "zip:encryption".
  require(archive_write_set_passphrase(zip.get(), "secret") == ARCHIVE_OK);
  require(archive_write_open_filename(zip.get(), path.c_str()) == ARCHIVE_OK);
  for (const auto &[name, mode, contents] : entries) {
    const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(),
                                                                              archive_entry_free);
    archive_entry_set_pathname(entry.get(), name.c_str());
    archive_entry_set_mode(entry.get(), mode);
    archive_entry_set_mtime(entry.get(), zipModificationTime, 0);
    // A user and group other than those of the test.
    archive_entry_set_uid(entry.get(), 12'345);
    archive_entry_set_gid(entry.get(), 12'345);
    if (S_ISLNK(mode)) archive_entry_set_symlink(entry.get(), contents.c_str());
    const std::size_t size = S_ISREG(mode) ? contents.size() : 0;
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(size));
    require(archive_write_header(zip.get(), entry.get()) == ARCHIVE_OK);
    require(archive_write_data(zip.get(), contents.data(), size) == static_cast<la_ssize_t>(size));
  }
  require(archive_write_close(zip.get()) == ARCHIVE_OK);
  ::uselocale(previous);
  ::freelocale(utf8);
}

}  // namespace orvel::posix_test
