#pragma once

#include <optional>
#include <string_view>

#include "base/url.h"

namespace orvel {

/// Returns the URL of an address from WebKit, or nullopt when it is null or not a URL.
/// Percent-encodes characters such as "[" and "|", which the URL Standard leaves alone
/// but RFC 3986 does not allow. Any thread.
std::optional<Url> urlFromWebKit(const char *address);

/// Returns the part of an address before "#". Any thread.
std::string_view withoutFragment(std::string_view address);

}  // namespace orvel
