#pragma once

#include <string_view>

namespace orvel {

/// Returns whether the bytes are UTF-8. NUL is a character like any other,
/// unlike in GLib's own check. Any thread.
bool isUtf8(std::string_view bytes);

}  // namespace orvel
