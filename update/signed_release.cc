#include "update/signed_release.h"

#include "base/file_hash.h"
#include "base/signature.h"
#include "update/version.h"

namespace orvel {

std::string signedMessage(std::string_view versie, std::string_view edition,
                          std::string_view sha256, const std::optional<std::string> &sleutel) {
  std::string message = "orvel-os-update\n";
  for (const std::string_view line : {versie, edition, sha256}) {
    message.append(line).append("\n");
  }
  if (sleutel) message.append(*sleutel).append("\n");
  return message;
}

bool isSigned(const std::string &archive, std::string_view versie, std::string_view edition,
              const ReleaseSignature &signature, std::string_view publicKey) {
  if (!signature.handtekening) return false;
  const auto hash = sha256OfFile(archive);
  if (!hash) return false;
  const std::string message = signedMessage(versie, edition, *hash, signature.sleutel);
  return verify(publicKey, message, *signature.handtekening);
}

bool matchesRelease(const TextMap &information, std::string_view versie,
                    std::string_view runningVersion, const ReleaseSignature &signature,
                    std::string_view publicKey) {
  return find(information, "CFBundleShortVersionString") == versie &&
         nieuwer(versie, runningVersion) &&
         (find(information, updateKeyEntry) == publicKey ||
          (signature.sleutel && find(information, updateKeyEntry) == *signature.sleutel));
}

}  // namespace orvel
