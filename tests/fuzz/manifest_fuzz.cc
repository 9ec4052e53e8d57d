// Properties: an update manifest is read completely or rejected. The working folder, in which its
// release is unpacked, lies in the temporary folder. Only the signed release has a valid signature.

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>

#include "base/edition.h"
#include "base/json.h"
#include "base/signature.h"
#include "base/text.h"
#include "base/url.h"
#include "tests/fuzz/fuzz_target.h"
#include "update/command_line.h"
#include "update/signed_release.h"
#include "update/update_check.h"
#include "update/working_folder.h"

namespace orvel::fuzz {

namespace {

void requireContained(const UpdateManifest &manifest) {
  const auto folder = workingFolder("/temporary", manifest.versie);
  if (folder) {
    const auto normal = std::filesystem::path(*folder).lexically_normal().string();
    require(normal.starts_with("/temporary/orvel-os-update-"),
            "the working folder is below the temporary folder");
    // Each of the two arguments has two quotes.
    const auto command = commandLine(macosEdition.unpack, {"/archive", *folder});
    require(!command || std::count(command->begin(), command->end(), '\'') == 4,
            "a version stays within its quotes");
  }
  const auto archive =
      Url::resolve(manifest.zip, *Url::parse("https://os.test/download/linux.json"));
  require(!archive || !archive->scheme.empty(), "an archive address is absolute");
}

// The corpus has two manifests of version 1.3 for macOS, signed with the private key of `publicKey`
// for an archive with this hash. One of them has `newKey` too. The private keys are deleted.
constexpr std::string_view publicKey =
    "BJSNQiaaPNCDke2b5cBngGwe4tKmi9xsr/5nY3dk0peIaGg5kCFZIdP419now1Bgx4scpLYVig2pIP73ABDy+p8=";
constexpr std::string_view hash =
    "9e691d5adacf0e102f203100842ffaba4e2a7dfe3dbd536827d3c0db8c7e88f1";
constexpr std::string_view newKey =
    "BDKKzDiVIqcONOGiVHo14ioLx7aQAsPco8VtRWgNxVM3qkaoLc9YlSbIAJLHJk1ZbFzFoHXMpekRt36MsieV5F8=";

void requireAuthentic(const UpdateManifest &manifest) {
  // The Dutch names of the members, which mean signature and (new) key.
  const auto &[handtekening, sleutel] = manifest.signature;
  if (!handtekening) return;
  const std::string message = signedMessage(manifest.versie, "mac", hash, sleutel);
  const bool isValid = verify(publicKey, message, *handtekening);
  require(!isValid || (manifest.versie == "1.3" && sleutel.value_or(std::string(newKey)) == newKey),
          "only the signed release has a valid signature");
  // The new key in a manifest may be any text, and must not crash verify().
  if (sleutel) verify(*sleutel, message, *handtekening);
}

}  // namespace

void testInput(std::string_view input) {
  const std::string json(input);
  const auto manifest = readManifest(json);
  const auto texts = parseJsonTexts(json);
  require(texts || !manifest, "a manifest is JSON");
  if (!texts) return;

  for (const auto &[name, text] : *texts) {
    // trimmedText() returns nullopt for invalid UTF-8.
    require(trimmedText(name) && trimmedText(text), "texts are UTF-8");
  }
  require(parseJsonTexts(nlohmann::json(*texts).dump()) == texts, "serialized texts are parsed");
  // A byte order mark is only accepted as the first character, so no space may precede it.
  const bool hasByteOrderMark = json.starts_with("\xEF\xBB\xBF");
  require(parseJsonTexts((hasByteOrderMark ? "" : " ") + json + "\r\n\t") == texts,
          "surrounding white space is ignored");
  require(!parseJsonTexts(json.substr(0, json.rfind('}'))), "a truncated text is rejected");
  require(!parseJsonTexts(json + "{}"), "trailing text is rejected");
  require(!parseJsonTexts("[" + json + "]"), "an array is rejected");
  if (!manifest) return;
  const auto withDuplicates =
      readManifest(R"({"versie":"1","zip":"a",)" + json.substr(json.find('{') + 1));
  require(withDuplicates && withDuplicates->versie == manifest->versie &&
              withDuplicates->zip == manifest->zip,
          "the last of duplicate keys wins");
  requireContained(*manifest);
  requireAuthentic(*manifest);
}

}  // namespace orvel::fuzz
