#pragma once

#include <string_view>

namespace orvel {

/// Returns whether a server address is on this machine: whether it begins with
/// "http://127.0.0.1:" or "http://localhost:". Case-sensitive. Any thread.
bool isLocalAddress(std::string_view address);

}  // namespace orvel
