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
  /// The bytes of a file or the target of a symbolic link.
  std::string contents;
};

/// Return the entry of a file, a folder or a symbolic link.
ZipEntry zipFile(const std::string &name, const std::string &contents, unsigned permissions = 0644);
ZipEntry zipFolder(const std::string &name, unsigned permissions = 0755);
ZipEntry zipLink(const std::string &name, const std::string &target);

/// Writes an archive. The options are those of libarchive's writer, such as
/// "zip:compression=store" or "zip:encryption=traditional". Names are UTF-8 where possible.
void writeZip(const std::filesystem::path &path, const std::vector<ZipEntry> &entries,
              const std::string &options = "");

}  // namespace orvel::posix_test
