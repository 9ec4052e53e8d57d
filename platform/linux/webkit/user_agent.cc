#include "platform/linux/webkit/user_agent.h"

#include <algorithm>
#include <string>

namespace orvel {

namespace {

/// Returns whether the text is a token of RFC 9110, section 5.6.2.
bool isToken(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char character) {
    return g_ascii_isalnum(character) ||
           std::string_view("!#$%&'*+-.^_`|~").find(character) != std::string_view::npos;
  });
}

/// Returns whether the text is a product of RFC 9110, section 10.1.5, with a version.
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
  // webkit_settings_set_user_agent rejects a product whose version is empty or contains "/".
  // So it sets a placeholder of the same length, which is then overwritten in the settings'
  // own copy. A new view reads that copy.
  const std::string placeholder(name.size(), 'x');
  webkit_settings_set_user_agent(settings, (front + placeholder).c_str());
  auto *stored = const_cast<char *>(webkit_settings_get_user_agent(settings));
  if (stored != front + placeholder) return;
  std::copy(name.begin(), name.end(), stored + front.size());
}

}  // namespace orvel
