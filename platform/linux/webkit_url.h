#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/url.h"

namespace orvel {

/// A URL as WebKit writes it (the URL Standard) in the form of RFC 3986: the
/// characters after the host that the one leaves alone and the other does not
/// know, such as "[", "|" or a "%" that begins no escape, are percent-encoded.
/// What is valid already stays as it is. Any thread.
std::string withEscapes(std::string_view address);

/// The URL that WebKit names; nothing for none and for a text that is no URL.
std::optional<Url> urlFromWebKit(const char *address);

}  // namespace orvel
