#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

#include "platform/web_view.h"

namespace orvel {

/// Returns the cookie that carries the app key, for the host of a server address. `local`
/// is whether the address is on this machine; for other addresses the cookie is sent over
/// https only. Returns nullopt when the key is empty or the address has no host.
std::optional<Cookie> keyCookie(std::string_view address, bool local, const std::string &key,
                                std::chrono::system_clock::time_point now);

}  // namespace orvel
