#pragma once

#include <webkit/webkit.h>

#include <string_view>

namespace orvel {

/// Makes the user agent the engine's own, a blank and the name, whatever the
/// name holds; without a name it stays the engine's own. The settings must not
/// belong to a web view yet.
void appendToUserAgent(WebKitSettings *settings, std::string_view name);

}  // namespace orvel
