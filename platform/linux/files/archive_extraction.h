#pragma once

#include <cstdint>
#include <string>

namespace orvel {

/// The limits of an archive. Without them a small archive could unpack to any size.
struct ArchiveLimits {
  /// The maximum size of all files together, in bytes.
  std::uint64_t size = std::uint64_t{4} << 30U;
  /// The maximum number of entries.
  std::uint64_t entries = 100'000;
};

/// Unpacks a ZIP archive into an existing folder with libarchive, with permissions and
/// times but without owners. Rejects another format; a truncated, corrupt or encrypted
/// archive; names and link targets that are absolute or have a component ".."; entries
/// whose path leads through a symbolic link; entries other than folders, regular
/// files and symbolic links; and what exceeds the limits.
///
/// Returns false when the archive or an entry was rejected, or an entry could not be
/// written. A part of the archive may then be in the folder, but never outside it. Any
/// thread; gives the calling thread its own umask and working directory, permanently
/// (CLONE_FS). Blocks on the disk.
bool extractArchive(const std::string &archive, const std::string &folder,
                    ArchiveLimits limits = {});

}  // namespace orvel
