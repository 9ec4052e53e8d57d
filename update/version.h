#pragma once

#include <string_view>

namespace orvel {

/// Returns whether a version (`kandidaat`) is later than another (`dan`). Splits both at
/// their full stops and compares the numbers one by one. A missing number and text that
/// is not a signed decimal number of 64 bits count as 0. Any thread.
bool nieuwer(std::string_view kandidaat, std::string_view dan);

}  // namespace orvel
