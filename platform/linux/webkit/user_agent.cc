#include "platform/linux/webkit/user_agent.h"

#include <algorithm>
#include <string>

#include "platform/linux/glib/http_token.h"

namespace orvel {

namespace {

/// Returns whether the text is a product with a version (RFC 9110, section 10.1.5).
bool isProduct(std::string_view text) {
  const auto slash = text.find('/');
  return slash != std::string_view::npos && isHttpToken(text.substr(0, slash)) &&
         isHttpToken(text.substr(slash + 1));
}

}  // namespace

void appendToUserAgent(WebKitSettings *settings, std::string_view name) {
  if (name.empty()) return;
  const std::string prefix = std::string(webkit_settings_get_user_agent(settings)) + " ";
  if (isProduct(name)) {
    webkit_settings_set_user_agent(settings, (prefix + std::string(name)).c_str());
    return;
  }
  // webkit_settings_set_user_agent rejects some other names, such as one whose version is empty
  // or contains "/". So the function gets a placeholder of the same length, which is then
  // overwritten in the copy that the settings store. A new view reads that copy.
  const std::string placeholder(name.size(), 'x');
  webkit_settings_set_user_agent(settings, (prefix + placeholder).c_str());
  auto *stored = const_cast<char *>(webkit_settings_get_user_agent(settings));
  // Only a copy of exactly this text has room for the name.
  if (stored != prefix + placeholder) return;
  std::copy(name.begin(), name.end(), stored + prefix.size());
}

}  // namespace orvel
