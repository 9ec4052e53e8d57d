#include "platform/linux/webkit/user_agent.h"

#include <algorithm>
#include <string>

namespace orvel {

namespace {

/// Whether the text is a token of RFC 9110, section 5.6.2.
bool isToken(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char character) {
    return g_ascii_isalnum(character) ||
           std::string_view("!#$%&'*+-.^_`|~").find(character) != std::string_view::npos;
  });
}

/// Whether the text is a product of RFC 9110, section 10.1.5, with a version.
bool isProduct(std::string_view text) {
  const auto slash = text.find('/');
  return slash != std::string_view::npos && isToken(text.substr(0, slash)) &&
         isToken(text.substr(slash + 1));
}

}  // namespace

void appendToUserAgent(WebKitSettings *settings, std::string_view name) {
  if (name.empty()) return;
  const std::string front = std::string(webkit_settings_get_user_agent(settings)) + " ";
  if (isProduct(name)) {
    webkit_settings_set_user_agent(settings, (front + std::string(name)).c_str());
    return;
  }
  // WebKitGTK refuses a product with an empty version, or one with a "/" in it,
  // and has no other way to set the text. The view reads the settings' own copy
  // when it is made, so a text of the same length holds the place until then.
  const std::string placeholder(name.size(), 'x');
  webkit_settings_set_user_agent(settings, (front + placeholder).c_str());
  auto *kept = const_cast<char *>(webkit_settings_get_user_agent(settings));
  if (kept != front + placeholder) return;
  std::copy(name.begin(), name.end(), kept + front.size());
}

}  // namespace orvel
