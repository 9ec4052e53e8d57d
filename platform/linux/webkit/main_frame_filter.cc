#include "platform/linux/webkit/main_frame_filter.h"

#include <glib.h>

namespace orvel {

std::string mainFrameFilter(std::string_view address) {
  address = address.substr(0, address.find_first_of("?#"));
  // Each punctuation mark is escaped for the regular expression, and then for JSON.
  std::string pattern = "^";
  for (const char character : address) {
    if (g_ascii_ispunct(character)) pattern += R"(\\)";
    if (character == '"' || character == '\\') pattern += '\\';
    pattern += character;
  }
  std::string filter;
  // Two rules, because patterns of content filters have no alternatives ("|").
  for (const char *end : {"$", "[?#]"}) {
    filter += filter.empty() ? "[" : ",";
    filter += R"({"action":{"type":"block"},"trigger":{"resource-type":["top-document"],)"
              R"("url-filter-is-case-sensitive":true,"url-filter":")" +
              pattern + end + "\"}}";
  }
  return filter + "]";
}

}  // namespace orvel
