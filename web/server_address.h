#pragma once

#include <string_view>

namespace orvel {

/// Whether a server address is one of this machine: plain http to 127.0.0.1 or
/// localhost with a port, in exactly these letters.
bool isLocalAddress(std::string_view address);

}  // namespace orvel
