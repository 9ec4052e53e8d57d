#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace orvel::posix_test {

/// An entry of a ZIP archive, with the name and the mode as they are.
struct ZipEntry {
  std::string name;
  /// With the file type of <sys/stat.h>.
  unsigned mode = 0100644;
  /// Of a link its target.
  std::string contents;
};

ZipEntry zipFile(const std::string &name, const std::string &contents, unsigned permissions = 0644);
ZipEntry zipFolder(const std::string &name, unsigned permissions = 0755);
ZipEntry zipLink(const std::string &name, const std::string &target);

/// Writes an archive and gives its path. The options are those of libarchive's
/// writer, such as "zip:compression=store". Without a password nothing is
/// encrypted. Names are UTF-8 where they can be.
std::string writeZip(const std::filesystem::path &path, const std::vector<ZipEntry> &entries,
                     const std::string &options = "", const std::string &password = "");

}  // namespace orvel::posix_test
