#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/web_view.h"

namespace orvel {

/// The cookie that tells the server that a page belongs to this application,
/// for the host of a server address. Nothing when there is no host or no key:
/// such a cookie could never be sent.
std::optional<Cookie> keyCookie(std::string_view address, bool local, const std::string &key,
                                std::chrono::system_clock::time_point now);

}  // namespace orvel
