#pragma once

#include "platform/process_launcher.h"
#include "platform/release_unpacker.h"

namespace orvel {

/// An unpacker of release archives with libarchive. A single rename puts the bundle in place
/// after the complete archive is unpacked and the dynamic loader accepts its program.
/// Any thread; blocks on the disk and on child processes.
class ArchiveUnpacker final : public ReleaseUnpacker {
 public:
  explicit ArchiveUnpacker(ProcessLauncher &processes) : processes_(processes) {}

  void unpack(const std::string &archive, const std::string &folder) const override;

 private:
  ProcessLauncher &processes_;
};

}  // namespace orvel
