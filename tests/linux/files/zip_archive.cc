#include "tests/linux/files/zip_archive.h"

#include <archive.h>
#include <archive_entry.h>
#include <sys/stat.h>

#include <clocale>
#include <memory>
#include <stdexcept>

namespace orvel::posix_test {

namespace {

constexpr time_t modificationTime = 1'700'000'000;
constexpr la_int64_t owner = 12'345;

/// Throws libarchive's message about the latest failure unless the call succeeded.
void require(bool succeeded, archive *writer) {
  if (!succeeded) throw std::runtime_error(archive_error_string(writer));
}

void writeEntry(archive *writer, const ZipEntry &source) {
  const std::unique_ptr<archive_entry, decltype(&archive_entry_free)> entry(archive_entry_new(),
                                                                            archive_entry_free);
  archive_entry_set_pathname(entry.get(), source.name.c_str());
  archive_entry_set_mode(entry.get(), source.mode);
  archive_entry_set_mtime(entry.get(), modificationTime, 0);
  archive_entry_set_uid(entry.get(), owner);
  archive_entry_set_gid(entry.get(), owner);
  if (S_ISLNK(source.mode)) {
    archive_entry_set_symlink(entry.get(), source.contents.c_str());
  } else {
    archive_entry_set_size(entry.get(), static_cast<la_int64_t>(source.contents.size()));
  }
  require(archive_write_header(writer, entry.get()) == ARCHIVE_OK, writer);
  if (!S_ISREG(source.mode)) return;
  const auto written = archive_write_data(writer, source.contents.data(), source.contents.size());
  require(written == static_cast<la_ssize_t>(source.contents.size()), writer);
}

}  // namespace

ZipEntry zipFile(const std::string &name, const std::string &contents, unsigned permissions) {
  return {name, S_IFREG | permissions, contents};
}

ZipEntry zipFolder(const std::string &name, unsigned permissions) {
  return {name, S_IFDIR | permissions, ""};
}

ZipEntry zipLink(const std::string &name, const std::string &target) {
  return {name, S_IFLNK | 0777U, target};
}

void writeZip(const std::filesystem::path &path, const std::vector<ZipEntry> &entries,
              const std::string &options) {
  // libarchive converts names from the encoding of the locale.
  const locale_t utf8 = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", locale_t{});
  const locale_t previous = ::uselocale(utf8);
  {
    const std::unique_ptr<archive, decltype(&archive_write_free)> writer(archive_write_new(),
                                                                         archive_write_free);
    archive *zip = writer.get();
    require(archive_write_set_format_zip(zip) == ARCHIVE_OK, zip);
    require(archive_write_set_bytes_per_block(zip, 0) == ARCHIVE_OK, zip);
    require(archive_write_set_options(zip, options.c_str()) == ARCHIVE_OK, zip);
    // Used only with the option "zip:encryption".
    require(archive_write_set_passphrase(zip, "secret") == ARCHIVE_OK, zip);
    require(archive_write_open_filename(zip, path.c_str()) == ARCHIVE_OK, zip);
    for (const ZipEntry &entry : entries) writeEntry(zip, entry);
    require(archive_write_close(zip) == ARCHIVE_OK, zip);
  }
  ::uselocale(previous);
  ::freelocale(utf8);
}

}  // namespace orvel::posix_test
