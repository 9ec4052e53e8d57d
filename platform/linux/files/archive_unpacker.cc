#include "platform/linux/files/archive_unpacker.h"

#include <filesystem>
#include <system_error>

#include "platform/linux/files/archive_extraction.h"
#include "platform/linux/files/loadable_program.h"

namespace orvel {

void ArchiveUnpacker::unpack(const std::string &archive, const std::string &folder) const {
  namespace fs = std::filesystem;
  constexpr const char *bundle = "Orvel OS.app";
  const fs::path part = fs::path(folder) / "part";
  std::error_code error;
  if (!fs::create_directory(part, error) || !extractArchive(archive, part.string()) ||
      !isLoadableProgram(processes_, (part / bundle / "Contents/Linux/orvel-os").string())) {
    return;
  }
  fs::rename(part / bundle, fs::path(folder) / bundle, error);
}

}  // namespace orvel
