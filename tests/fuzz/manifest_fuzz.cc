// Properties: a manifest is read completely or rejected, and cannot leave its folder.

#include <algorithm>
#include <array>
#include <filesystem>
#include <string>

#include "base/json.h"
#include "base/platform_names.h"
#include "base/text.h"
#include "base/url.h"
#include "tests/fuzz/property.h"
#include "update/command_line.h"
#include "update/installation.h"
#include "update/update_check.h"

namespace {

using namespace orvel;

std::string jsonString(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string json = "\"";
  for (const char character : text) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < ' ' || character == '"' || character == '\\') {
      json += "\\u00";
      json += {digits[byte >> 4U], digits[byte & 15U]};
    } else {
      json += character;
    }
  }
  return json + "\"";
}

std::string serialized(const JsonTexts &texts) {
  std::string json;
  for (const auto &[name, text] : texts) {
    json += (json.empty() ? "{" : ",") + jsonString(name) + ":" + jsonString(text);
  }
  return json.empty() ? "{}" : json + "}";
}

void requireContained(const UpdateManifest &manifest) {
  const auto folder = workingFolder("/temporary", manifest.versie);
  if (folder) {
    const auto normal = std::filesystem::path(*folder).lexically_normal().string();
    fuzz::require(normal.starts_with("/temporary/orvel-os-update-"),
                  "the working folder is below the temporary folder");
    const auto command = commandLine(macosNames.unpack, {"/archive", *folder});
    fuzz::require(!command || std::count(command->begin(), command->end(), '\'') == 4,
                  "a version stays within its quotes");
  }
  const auto archive =
      Url::resolve(manifest.zip, *Url::parse("https://os.test/download/linux.json"));
  fuzz::require(!archive || !archive->scheme.empty(), "an archive address is absolute");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string json(fuzz::bytesOf(data, size));
  const auto manifest = readManifest(json);
  const auto texts = parseJsonTexts(json);
  fuzz::require(texts || !manifest, "a manifest is JSON");
  if (!texts) return 0;

  for (const auto &[name, text] : *texts) {
    fuzz::require(trimmedText(name) && trimmedText(text), "texts are UTF-8");
  }
  fuzz::require(parseJsonTexts(serialized(*texts)) == texts, "serialized texts are parsed");
  // A byte order mark is only accepted as the first character.
  const bool hasMark = json.starts_with("\xEF\xBB\xBF");
  fuzz::require(parseJsonTexts((hasMark ? "" : " ") + json + "\r\n\t") == texts,
                "surrounding white space is ignored");
  fuzz::require(!parseJsonTexts(json.substr(0, json.rfind('}'))), "a truncated text is rejected");
  fuzz::require(!parseJsonTexts(json + "{}"), "trailing text is rejected");
  fuzz::require(!parseJsonTexts("[" + json + "]"), "an array is rejected");
  const auto both = readManifest(R"({"versie":"1","zip":"a",)" + json.substr(json.find('{') + 1));
  if (!manifest) return 0;
  fuzz::require(both && both->versie == manifest->versie && both->zip == manifest->zip,
                "the last of duplicate keys wins");
  requireContained(*manifest);
  return 0;
}
