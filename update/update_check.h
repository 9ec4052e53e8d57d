#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "update/signed_release.h"

namespace orvel {

/// A server's description of the newest release.
struct UpdateManifest {
  std::string versie;
  /// The URL of the archive, absolute or relative to the manifest.
  std::string zip;
  ReleaseSignature signature = {};
};

/// Reads a manifest, a JSON object whose members "versie" and "zip" are strings. The members
/// "handtekening" and "sleutel" count when they are strings. Returns nullopt for anything
/// else. Any thread.
std::optional<UpdateManifest> readManifest(std::string_view json);

}  // namespace orvel
