// A manifest is read whole or not at all.

#include <string>

#include "platform/json.h"
#include "platform/text.h"
#include "tests/fuzz/property.h"
#include "update/update_check.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  using namespace orvel;
  const std::string json(fuzz::bytesOf(data, size));
  const auto manifest = readManifest(json);
  const auto texts = parseJsonTexts(json);
  fuzz::require(texts || !manifest, "a manifest is JSON");
  if (!texts) return 0;

  for (const auto &[name, text] : *texts) {
    fuzz::require(trimmedText(name) && trimmedText(text), "texts are UTF-8");
  }
  fuzz::require(parseJsonTexts(" " + json + "\r\n\t") == texts,
                "white space around does not count");
  fuzz::require(!parseJsonTexts(json.substr(0, json.rfind('}'))), "half of it is none");
  fuzz::require(!parseJsonTexts(json + "{}"), "nothing may follow");
  fuzz::require(!parseJsonTexts("[" + json + "]"), "an array is none");
  const auto both = readManifest(R"({"versie":"1","zip":"a",)" + json.substr(json.find('{') + 1));
  fuzz::require(
      !manifest || (both && both->versie == manifest->versie && both->zip == manifest->zip),
      "the last of two counts");
  return 0;
}
