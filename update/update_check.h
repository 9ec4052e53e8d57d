#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvel {

/// What a server tells of the newest release.
struct UpdateManifest {
  std::string versie;
  /// Where the archive is, absolute or relative to the manifest.
  std::string zip;
};

/// Reads a manifest: a JSON object whose members "versie" and "zip" are texts.
/// Nothing for anything else. Any thread.
std::optional<UpdateManifest> readManifest(std::string_view json);

}  // namespace orvel
