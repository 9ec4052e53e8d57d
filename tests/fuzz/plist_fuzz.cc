// Properties: a parsed property list can be serialized and parsed again, and malformed ones
// do not crash.

#include <glib.h>

#include <memory>
#include <string>

#include "base/text.h"
#include "platform/linux/files/plist_file.h"
#include "tests/fuzz/property.h"

namespace {

using namespace orvel;

std::string element(const std::string &name, const std::string &text) {
  const std::unique_ptr<char, void (*)(void *)> escaped(
      g_markup_escape_text(text.data(), static_cast<gssize>(text.size())), g_free);
  std::string content;
  // An XML parser normalises line ends to a line feed, except for character references.
  for (const char *at = escaped.get(); *at != '\0'; ++at) {
    if (*at == '\r') {
      content += "&#13;";
    } else {
      content += *at;
    }
  }
  return "<" + name + ">" + content + "</" + name + ">";
}

std::string serialized(const PlistTexts &texts) {
  std::string list = "<plist><dict>";
  for (const auto &[key, text] : texts) list += element("key", key) + element("string", text);
  return list + "</dict></plist>";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
  const std::string bytes(fuzz::bytesOf(data, size));
  const auto texts = parsePlistTexts(bytes);
  fuzz::require(parsePlistTexts(bytes) == texts, "parsing is deterministic");
  if (!texts) return 0;
  for (const auto &[key, text] : *texts) {
    fuzz::require(trimmedText(key) && trimmedText(text), "texts are UTF-8");
    fuzz::require((key + text).find('\0') == std::string::npos, "texts hold no NUL");
  }
  fuzz::require(parsePlistTexts(serialized(*texts)) == texts, "a serialized list is parsed");
  fuzz::require(!parsePlistTexts(bytes.substr(0, bytes.rfind("</"))),
                "a truncated list is rejected");
  return 0;
}
