#pragma once

#include <string_view>

namespace orvel {

/// Returns whether the bytes are UTF-8. Unlike g_utf8_validate_len, accepts NUL. Any
/// thread.
bool isUtf8(std::string_view bytes);

}  // namespace orvel
