#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvel::posix_test {

/// An entry of a ZIP archive. Name and mode are written unchanged.
struct ZipEntry {
  std::string name;
  /// Includes the file type bits of <sys/stat.h>.
  unsigned mode = 0100644;
  /// The target of a symbolic link.
  std::string contents;
};

ZipEntry zipFile(const std::string &name, const std::string &contents, unsigned permissions = 0644);
ZipEntry zipFolder(const std::string &name, unsigned permissions = 0755);
ZipEntry zipLink(const std::string &name, const std::string &target);

/// Writes an archive and returns its path. The options are those of libarchive's writer,
/// such as "zip:compression=store". An empty password disables encryption. Names are
/// UTF-8 where possible.
std::string writeZip(const std::filesystem::path &path, const std::vector<ZipEntry> &entries,
                     const std::string &options = "", const std::string &password = "");

}  // namespace orvel::posix_test
