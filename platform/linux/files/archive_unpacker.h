#pragma once

#include "platform/process_launcher.h"
#include "platform/release_unpacker.h"

namespace orvel {

/// Unpacks a release with libarchive. A single rename puts the bundle in place, after
/// the whole archive is unpacked and its program is known to be loadable here.
class ArchiveUnpacker final : public ReleaseUnpacker {
 public:
  explicit ArchiveUnpacker(ProcessLauncher &processes) : processes_(processes) {}

  void unpack(const std::string &archive, const std::string &folder) const override;

 private:
  ProcessLauncher &processes_;
};

}  // namespace orvel
