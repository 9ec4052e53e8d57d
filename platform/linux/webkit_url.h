#pragma once

#include <optional>

#include "platform/url.h"

namespace orvel {

/// Returns the URL that WebKit names; nullopt for none and for a text that is no
/// URL. WebKit writes by the URL Standard, which leaves characters alone that RFC
/// 3986 does not know, such as "[" or "|": these are percent-encoded. Any thread.
std::optional<Url> urlFromWebKit(const char *address);

}  // namespace orvel
