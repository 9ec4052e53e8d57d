#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/property_list.h"

namespace orvel {

/// The entry of Info.plist with the public key that verifies updates, in the form that
/// `verify` (base/signature.h) takes. A build without the entry does not
/// verify the signatures of updates.
inline constexpr std::string_view updateKeyEntry = "ORVELOSUpdateKey";

/// The members of a manifest that authenticate its release.
struct ReleaseSignature {
  /// The signature, in the form that `verify` takes.
  std::optional<std::string> handtekening;
  /// The new public key, when the maker of the release has changed keys: the release contains
  /// it, but the old key verifies the release. The signature covers the new key.
  std::optional<std::string> sleutel;
};

/// Returns the message that the maker of a release signs. Its first line is fixed, so that
/// a signature of a message that begins differently is not valid for a release. `sha256` is the
/// archive's hash in lower-case hexadecimal digits, `sleutel` the new public key if the release has
/// one. Any thread.
std::string signedMessage(std::string_view versie, std::string_view edition,
                          std::string_view sha256, const std::optional<std::string> &sleutel);

/// Returns whether the signature of an archive is valid under the public key. Any thread;
/// reads the archive, which blocks on the disk.
bool isSigned(const std::string &archive, std::string_view versie, std::string_view edition,
              const ReleaseSignature &signature, std::string_view publicKey);

/// Returns whether all of this holds: the Info.plist of an unpacked release has the signed version
/// (`versie`), `versie` is later than the running version, and the public key in the Info.plist is
/// `publicKey` or `signature.sleutel`. Without the first check, a release whose Info.plist has an
/// older version than `versie` would be installed again at every update check. Any thread.
bool matchesRelease(const TextMap &information, std::string_view versie,
                    std::string_view runningVersion, const ReleaseSignature &signature,
                    std::string_view publicKey);

}  // namespace orvel
