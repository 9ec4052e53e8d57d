// Property: no archive writes outside its target folder.

#include <filesystem>
#include <fstream>
#include <string>

#include "platform/linux/files/archive_extraction.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/support/temporary_folder.h"

namespace orvel::fuzz {

namespace {
namespace fs = std::filesystem;

void requireContentsStayInside(const fs::path &folder) {
  for (const auto &entry : fs::recursive_directory_iterator(folder)) {
    const auto status = entry.symlink_status();
    require(fs::is_directory(status) || fs::is_regular_file(status) || fs::is_symlink(status),
            "only folders, files and links are extracted");
    if (!fs::is_symlink(status)) continue;
    const fs::path target = fs::read_symlink(entry.path());
    const fs::path destination = (entry.path().parent_path() / target).lexically_normal();
    require(target.is_relative() && destination.string().starts_with((folder / "").string()),
            "a link stays inside the folder");
  }
}

}  // namespace

void testInput(std::string_view input) {
  static const TemporaryFolder scratch;
  const fs::path archive = scratch.path() / "archive";
  const fs::path folder = scratch.path() / "folder";
  std::ofstream(archive, std::ios::binary) << input;
  fs::create_directory(folder);
  extractArchive(archive.string(), folder.string());
  requireContentsStayInside(folder);
  fs::remove_all(folder);
  // Only the archive is left.
  require(std::distance(fs::directory_iterator(scratch.path()), fs::directory_iterator()) == 1,
          "nothing is written beside the folder");
}

}  // namespace orvel::fuzz
