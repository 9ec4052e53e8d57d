// Properties: a parsed property list can be serialized and parsed again, and a malformed
// one does not crash the parser.

#include <regex>
#include <string>

#include "base/text.h"
#include "platform/linux/files/plist_file.h"
#include "platform/linux/glib/glib_text.h"
#include "tests/fuzz/fuzz_target.h"

namespace orvel::fuzz {

namespace {

std::string element(const std::string &name, const std::string &text) {
  const GlibText escaped(g_markup_escape_text(text.data(), static_cast<gssize>(text.size())));
  // An XML parser normalises line ends to a line feed, except for character references.
  const std::string content = std::regex_replace(escaped.get(), std::regex("\r"), "&#13;");
  return "<" + name + ">" + content + "</" + name + ">";
}

std::string serialized(const TextMap &texts) {
  std::string list = "<plist><dict>";
  for (const auto &[key, text] : texts) list += element("key", key) + element("string", text);
  return list + "</dict></plist>";
}

}  // namespace

void testInput(std::string_view input) {
  const std::string bytes(input);
  const auto texts = parsePlistTexts(bytes);
  require(parsePlistTexts(bytes) == texts, "parsing is deterministic");
  if (!texts) return;
  for (const auto &[key, text] : *texts) {
    // trimmedText() returns nullopt for invalid UTF-8.
    require(trimmedText(key) && trimmedText(text), "texts are UTF-8");
    require((key + text).find('\0') == std::string::npos, "texts hold no NUL");
  }
  require(parsePlistTexts(serialized(*texts)) == texts, "a serialized list is parsed");
  require(!parsePlistTexts(bytes.substr(0, bytes.rfind("</"))), "a truncated list is rejected");
}

}  // namespace orvel::fuzz
