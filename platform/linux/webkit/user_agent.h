#pragma once

#include <webkit/webkit.h>

#include <string_view>

namespace orvel {

/// Appends a space and a name to WebKit's user agent. The name may be any text; an empty one
/// changes nothing. Call it before the settings belong to a web view. Main thread only.
void appendToUserAgent(WebKitSettings *settings, std::string_view name);

}  // namespace orvel
