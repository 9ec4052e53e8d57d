#pragma once

#include "platform/process_launcher.h"
#include "platform/release_unpacker.h"

namespace orvel {

/// Unpacks a release by libarchive. The bundle gets its name by one rename, when
/// all of the archive is unpacked and its program can be loaded here.
class ArchiveUnpacker final : public ReleaseUnpacker {
 public:
  explicit ArchiveUnpacker(ProcessLauncher &processes) : processes_(processes) {}

  void unpack(const std::string &archive, const std::string &folder) const override;

 private:
  ProcessLauncher &processes_;
};

}  // namespace orvel
