#pragma once

#include <string_view>

namespace orvel {

/// Writes the reason to standard error and aborts the process. For a broken invariant,
/// after which the application would show the user something wrong.
[[noreturn]] void fatalError(std::string_view reason);

}  // namespace orvel
