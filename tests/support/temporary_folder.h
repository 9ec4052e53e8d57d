#pragma once

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace orvel {

/// A folder with a unique name, removed with its contents on destruction.
class TemporaryFolder {
 public:
  explicit TemporaryFolder(
      const std::filesystem::path &parent = std::filesystem::temp_directory_path()) {
    std::string pattern = parent / "orvel-test-XXXXXX";
    const char *created = ::mkdtemp(pattern.data());
    if (created == nullptr) {
      throw std::filesystem::filesystem_error("mkdtemp", pattern,
                                              std::error_code(errno, std::generic_category()));
    }
    path_ = std::filesystem::canonical(created);
  }
  ~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryFolder(const TemporaryFolder &) = delete;
  TemporaryFolder &operator=(const TemporaryFolder &) = delete;

  const std::filesystem::path &path() const { return path_; }
  /// Writes a file into the folder and returns its path.
  std::string file(const std::string &name, const std::string &contents,
                   bool isExecutable = false) const {
    const auto path = path_ / name;
    std::ofstream(path, std::ios::binary) << contents;
    if (isExecutable) std::filesystem::permissions(path, std::filesystem::perms(0755));
    return path;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace orvel
