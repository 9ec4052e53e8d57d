#include "platform/linux/files/archive_unpacker.h"

#include <filesystem>
#include <system_error>

#include "platform/linux/files/archive_extraction.h"
#include "platform/linux/files/loadable_program.h"

namespace orvel {

void ArchiveUnpacker::unpack(const std::string &archive, const std::string &folder) const {
  namespace fs = std::filesystem;
  constexpr const char *bundle = "Orvel OS.app";
  const fs::path incomplete = fs::path(folder) / "part";
  std::error_code error;
  if (!fs::create_directory(incomplete, error) || !extractArchive(archive, incomplete.string()) ||
      !isLoadableProgram(processes_, (incomplete / bundle / "Contents/Linux/orvel-os").string())) {
    return;
  }
  // The caller detects a failure, also one above, by the absence of the bundle.
  fs::rename(incomplete / bundle, fs::path(folder) / bundle, error);
}

}  // namespace orvel
