#pragma once

#include <string_view>

namespace orvel {

/// Ends the process: going on would show the user something wrong. Writes the
/// reason to standard error.
[[noreturn]] void fatalError(std::string_view reason);

}  // namespace orvel
